#pragma once

#include <array>
#include <string>
#include <vector>

#include "binary/loadfile.h"
#include "mdc/records.h"

struct cmdctagentry {
  const namefield<64>* name = nullptr;
  // The first of this tag's numFrames records.
  const mdcTag* poses = nullptr;
};

struct cmdcsurfentry {
  const mdcSurface* surface = nullptr;
  // The surface's counts; 0 for a negative one.
  std::int32_t numVerts = 0;
  std::int32_t numTriangles = 0;
  std::int32_t numShaders = 0;
  // A list without entries is null.
  const mdcTriangle* triangles = nullptr;
  const mdcShader* shaders = nullptr;
  const mdcSt* st = nullptr;
  const little<std::uint16_t>* frameBaseFrames = nullptr;
  const little<std::uint16_t>* frameCompFrames = nullptr;
  const mdcXyzNormal* xyzNormals = nullptr;
  const mdcXyzCompressed* xyzCompressed = nullptr;
  // For each frame, the first record of its base frame and of its compressed frame (or null).
  // Empty in a surface without vertices.
  std::vector<const mdcXyzNormal*> baseByFrame;
  std::vector<const mdcXyzCompressed*> compByFrame;
};

// An mdc file held whole in memory with pointers into it. After Load or Parse gave true it has at
// least one frame and everything that the tables reach lies inside the file, but for the vertices
// of frames that HoldsFrame refuses. ident and version are not tested, and a triangle may name
// vertices that there are not.
class cmdcfile {
 public:
  const mdcHeader* header = nullptr;
  const mdcFrame* frames = nullptr;
  const namefield<64>* tagNames = nullptr;
  const mdcTag* tags = nullptr;
  std::vector<cmdctagentry> tagTable;
  std::vector<cmdcsurfentry> surfaces;

  // Reads the file and builds the tables. False when it cannot be read or does not hold.
  bool Load(const char* path);
  // The same for a block that the caller keeps alive.
  bool Parse(fileview block);

  // Whether the vertices of the frame lie inside the file; otherwise `fault` says which do not.
  bool HoldsFrame(int frame, std::string& fault) const;

  std::uint32_t Size() const { return static_cast<std::uint32_t>(block_.Size()); }
  // What does not hold, and where, after Load or Parse gave false; empty when the file could not
  // be read at all. The header and the tables are there as far as they could be read.
  const std::string& Fault() const { return fault_; }

  // Positions in units, in the order x, y, z. The frame is one that HoldsFrame accepts.
  std::array<float, 3> VertexPosition(const cmdcsurfentry& surface, int frame, int vertex) const;
  std::array<float, 3> TagPosition(const cmdctagentry& tag, int frame) const;
  // Degrees, in the order of the record.
  static std::array<float, 3> TagAngles(const cmdctagentry& tag, int frame);

 private:
  bool ParseBlock();
  bool ParseFrames();
  bool ParseTags();
  bool ParseSurfaces();
  bool ParseSurface(std::int64_t offset, std::size_t index);
  void FindFrames(cmdcsurfentry& entry, std::int64_t offset) const;
  bool Refuse(const std::string& fault);

  loadedfile data_;
  fileview block_;
  std::string fault_;
};
