#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "core/affine.h"
#include "core/lanes.h"
#include "core/state.h"
#include "core/vertexblocks.h"

namespace core {

// A skin's weights in the form that deformation wants: the joints once each, and the weights of
// all vertices one behind the other with indices into them.
struct deformer {
  // Rows of four; the fourth column sums up the weights.
  struct jointmatrix {
    float4 row[4];
  };

  std::vector<const cnode*> joints;
  blendweights weights;
  std::vector<float4> jointNormals;   // of each weight: the normal, and the weight
  std::vector<jointmatrix> matrices;  // of the joints at the frame, into the skin's local space
  // The same for normals, which a joint does not make longer; empty where `matrices` do: without
  // morph targets and joints whose scale changes.
  std::vector<jointmatrix> normalMatrices;
  std::vector<cpoint3> positions;  // deformed, in local space
  std::vector<cpoint3> normals;
  int boxes = 0;                       // that were taken from all vertices
  std::optional<vertexblocks> blocks;  // made when more are asked for

  // At the frame: where what a vertex's weights lack to 1 stands, which are not normalised, since
  // the joints' matrices carry the move into local space once for each unit of weight; and the
  // skin's own stretch, null for none.
  cpoint3 whole;
  const affine* stretch = nullptr;

  // Of a mesh with morph targets: by joint what leads displacements and those of normals into its
  // space, and on from there into local space at the frame; what the frame's targets add to the
  // vertices at rest.
  struct turning {
    affine position;
    affine normal;
  };
  std::vector<turning> toJoints;
  std::vector<jointmatrix> positionTurns;
  std::vector<jointmatrix> normalTurns;
  std::vector<cpoint3> moved;
  std::vector<cpoint3> turned;
};

// Fills the positions, and the normals if wanted, of the skin at the frame: morph targets first,
// then the joints. A vertex without weights stays where the targets have it.
CORE_API const deformer& DeformAtFrame(cskin& skin, int frame, bool withNormals);

// The positions alone, into points of which each stands `stride` bytes behind the one before it.
CORE_API void PositionsAtFrame(cskin& skin, int frame, cpoint3* first, std::size_t stride);

// The box of the positions alone; without vertices it is the origin, and the result false.
CORE_API bool BoxAtFrame(cskin& skin, int frame, cpoint3& minimum, cpoint3& maximum);

}  // namespace core
