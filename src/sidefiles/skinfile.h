#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

class cmaterial;

// How a .skin file writes the image of a surface, behind the comma.
enum class skinform {
  Plain,   // the rest of the line
  Quoted,  // between the first double quote and the last
};

// A row of a .skin file.
struct surfmat {
  std::string surface;
  // The full path of the image. Empty where a line in the quoted form has no quote.
  std::string image;
  // Made from the image later.
  cmaterial* mat = nullptr;
};

// Whether the line makes a row: a comma behind the surface's name, and somewhere from the first
// full stop on .tga, .TGA, .jpg or .JPG. A name is cut at 127 characters, a path at 511.
bool ParseSkinLine(const char* line, skinform form, const std::string& gamedir, surfmat& row);

// The rows of the chosen .skin file.
class csurfmats {
 public:
  // Room for a row for each surface; more rows make the table grow.
  void Allocate(std::size_t numSurfaces) { rows_.reserve(numSurfaces); }

  // False, and no rows, without a game directory and when the file cannot be
  // opened or not be read to its end.
  bool LoadSkinFile(const char* path, skinform form, const std::string& gamedir);
  void Add(surfmat row);

  std::vector<surfmat>& Rows() { return rows_; }
  // The material of the first row for the surface; null without one.
  cmaterial* FindMatBySurface(const char* surface) const;

 private:
  void Clear();

  std::vector<surfmat> rows_;
  // By surface: its first row.
  std::unordered_map<std::string, std::size_t> firstRow_;
};
