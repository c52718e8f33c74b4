#pragma once

// The bind pose that the weights of skins imply.
//
// Model files have no bind matrices: a weight has the vertex's place in its joint's own space. But
// two joints that share vertices see the same points, so their transforms in the rest pose differ
// by the rigid motion that takes the one's offsets to the other's. The recovered pose is the one
// with the least sum over vertices v and their weights j of
//
//   weight_vj * |offset_vj * bind_j - rest_v|^2
//
// over all rigid bind_j and all rest_v, and of all poses equal in this the one that is closest to
// the pose that the joints are given with.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/affine.h"

namespace gltf {

struct bindweight {
  std::uint32_t joint;
  double weight;  // above 0; those of a vertex sum up to 1
  core::vec3 offset;
};

// The vertices of all skins of a scene, one behind the other. A joint is in a vertex once at most.
struct bindvertices {
  std::vector<bindweight> weights;
  std::vector<std::size_t> starts{0};  // of each vertex, and the end
};

// Transforms from each joint's space into the rest pose's, rotations and translations only.
// `pose` has the world transform of each joint at the frame that the rest pose should resemble: it
// decides what the vertices leave open, and joints that no vertex ties to others keep it.
// Everything finite. Linear in the weights.
std::vector<core::affine> RecoverBinds(const bindvertices& vertices,
                                       const std::vector<core::affine>& pose);

// Where the vertex rests by its weights, with the transforms that RecoverBinds gave.
core::vec3 RestPlace(const bindvertices& vertices, std::size_t vertex,
                     const std::vector<core::affine>& binds);

}  // namespace gltf
