#pragma once

// What the checks of all formats' contents share.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "binary/little.h"
#include "core/state.h"

namespace command {

// The first frame, the last and evenly spread ones between: one of 32, at least four in all.
std::vector<std::int32_t> SpreadOf(std::int32_t numFrames);

// Whether a number of the file is the scene's, which may be no number.
bool IsSame(float found, float wanted);
// Whether it lies within a tolerance of it. What is wanted that is not finite has no place in a
// file that could be judged: then it does.
bool IsNear(double found, double wanted, double tolerance);
bool IsNear(const std::array<little<float>, 3>& found, const cpoint3& wanted, double tolerance);

// "surface 2 (head)"
std::string NumberedName(const char* what, std::size_t number, const std::string& name);

// The content of a written surface that frames do not change.
struct facelist {
  const std::array<little<std::int32_t>, 3>* triangles = nullptr;
  std::int32_t numTriangles = 0;
  std::vector<std::array<float, 2>> texCoords;  // of each vertex
};

// Compares triangles and texture coordinates with the mesh's faces, and fills `sources` with each
// written vertex's vertex in the mesh. Exporters keep the mesh's vertices and put further ones,
// with other texture coordinates, behind them. What differs; empty for nothing.
std::string FaultOfFaces(const facelist& written, const core::meshstate& mesh,
                         std::vector<std::uint32_t>& sources);

const core::meshstate& MeshOf(cnode& surface);

// A mesh or skin at a frame.
struct posedsurface {
  const std::vector<cpoint3>& positions;  // in local space; of the surface until it is posed again
  cpoint3 low, high;                      // their box
  cmatrix4 world;
};
posedsurface PoseOf(cnode& surface, int frame);

// The box of a frame from its origin on, as the files keep it.
class framebounds {
 public:
  void Add(const posedsurface& surface);
  // What is wrong with the file's; empty for nothing.
  std::string FaultOf(const std::array<std::array<little<float>, 3>, 2>& bounds,
                      const std::array<little<float>, 3>& localOrigin, const cpoint3& origin) const;

 private:
  bool any_ = false;
  cpoint3 low_, high_;
};

}  // namespace command
