#pragma once

// What the checks of all formats' contents share.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "binary/little.h"
#include "binary/namefield.h"
#include "core/state.h"
#include "plugin/host/exportmesh.h"

namespace command {

// The first frame, the last and evenly spread ones between: one of 32, at least four in all.
std::vector<std::int32_t> SpreadOf(std::int32_t numFrames);

// Whether a number of the file is the scene's, which may be no number.
bool IsSame(float found, float wanted);
// Whether it lies within a tolerance of it. What is wanted that is not finite has no place in a
// file that could be judged: then it does.
bool IsNear(double found, double wanted, double tolerance);
bool IsNear(const std::array<little<float>, 3>& found, const cpoint3& wanted, double tolerance);

bool HasName(const namefield<64>& found, const std::string& text);

// "surface 2 (head)"
std::string NumberedName(const char* what, std::size_t number, const std::string& name);

// Whether the surface has an image of its own for its colour.
bool HasImage(cnode& surface);
// Whether it is the surface's shader: the path that the game has its image at, else the one that
// handlers make of the image's.
bool IsShader(const namefield<64>& found, cnode& surface);

// The surface's triangles against those that a host gives for export.
std::string FaultOfTriangles(const std::array<little<std::int32_t>, 3>* found,
                             std::int32_t numFound, const cexpmesh& mesh);
bool HasTexCoords(const std::array<little<float>, 2>& found, const cexpvert& wanted);

// A mesh or skin at a frame.
struct posedsurface {
  const std::vector<cpoint3>& positions;  // in local space; of the surface until it is posed again
  cpoint3 low, high;                      // their box
  cmatrix4 world;
};
posedsurface PoseOf(cnode& surface, int frame);

// The box of a frame, as handlers measure it.
class framebounds {
 public:
  void Add(const posedsurface& surface);
  // What is wrong with a frame of the file, whose record is one of an mdc or of a skeleton; empty
  // for nothing.
  template <class Frame>
  std::string FaultOf(const Frame& frame, const cpoint3& origin) const {
    return FaultOf(frame.bounds, frame.radius, frame.localOrigin, origin);
  }

 private:
  std::string FaultOf(const std::array<std::array<little<float>, 3>, 2>& bounds, float radius,
                      const std::array<little<float>, 3>& localOrigin, const cpoint3& origin) const;

  // A box of nothing is one inside out.
  static constexpr float kFar = 100000.0F;
  cpoint3 low_{kFar, kFar, kFar};
  cpoint3 high_{-kFar, -kFar, -kFar};
};

}  // namespace command
