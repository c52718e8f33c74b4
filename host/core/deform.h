#pragma once

#include <cstdint>
#include <vector>

#include "core/affine.h"
#include "core/state.h"

namespace core {

// A skin's weights in the form that deformation wants: the joints once each, and the weights of
// all vertices one behind the other with indices into them.
struct deformer {
  struct influence {
    std::uint32_t joint;
    float weight;
    cpoint3 offset;
    cpoint3 normal;
  };
  // Rows of four; the fourth column sums up the weights.
  struct jointmatrix {
    float m[4][4];
  };

  std::vector<const cnode*> joints;
  std::vector<influence> influences;
  std::vector<std::uint32_t> starts;  // of each vertex, and the end
  std::vector<jointmatrix> matrices;  // of the joints at the frame, into the skin's local space
  std::vector<cpoint3> positions;     // deformed, in local space
  std::vector<cpoint3> normals;
};

// Fills the positions, and the normals if wanted, of the skin at the frame. A vertex without
// weights stays where it is at rest.
CORE_API const deformer& DeformAtFrame(cskin& skin, int frame, bool withNormals);

}  // namespace core
