#pragma once

#include <array>
#include <vector>

#include "samples/gltfmodel.h"

// What a viewer shows of a document: linear blend skinning from the document's JSON and buffer
// alone, in double precision and with columns, in the file's axes and units. It shares no code
// with the reader.
class viewer {
 public:
  using point = std::array<double, 3>;
  using matrix = std::array<std::array<double, 4>, 4>;  // [row][column], points are columns

  explicit viewer(const gltfmodel& model) : doc_(model.doc), buffer_(model.Buffer()) {}

  // Places of the vertices of the primitive of the node's mesh, at a time of a clip; clip -1 is
  // the rest pose.
  std::vector<point> Places(int node, int primitive, int clip, double time) const;
  matrix World(int node, int clip, double time) const;
  // End of the clip, in seconds.
  double Length(int clip) const;

  static matrix Product(const matrix& a, const matrix& b);
  static point Apply(const matrix& m, const point& p);
  static matrix FromParts(const std::vector<double>& move, const std::vector<double>& rotation,
                          const std::vector<double>& scale);

 private:
  std::vector<std::vector<double>> Values(int accessor) const;
  std::vector<double> Part(int node, const char* path, std::vector<double> missing, int clip,
                           double time) const;

  const nlohmann::json& doc_;
  const bytes& buffer_;
};
