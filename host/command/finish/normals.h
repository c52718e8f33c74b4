#pragma once

// The normals of written models as the games light by them. What sets them takes a file that was
// written from the scene: its surfaces are the scene's meshes and skins in the scene's order, its
// vertices those of the host's export mesh. It fails where that does not hold.

#include <cstdint>
#include <vector>

#include "core/affine.h"
#include "core/scene.h"
#include "core/state.h"
#include "mdc/mdcfile.h"
#include "plugin/host/exportmesh.h"
#include "skeletal/modelfile.h"

namespace command {

// Degrees; that of the importers' own normals.
inline constexpr float kSmoothingAngle = 45.0F;

// A direction, not necessarily of length 1, as an mdc holds it: the low byte is its angle from +Z,
// the high byte the angle about Z from +X, each in 256 steps to the turn. Straight up and the zero
// vector give 0.
std::uint16_t MdcNormal(float x, float y, float z);
// The direction of such a code, at length 1.
cpoint3 MdcDirection(std::uint16_t code);

// What a surface of an mdc is written from.
class mdcsource {
 public:
  explicit mdcsource(cnode& surface);

  cnode& Node() const { return *node_; }
  const cexpmesh& Mesh() const { return mesh_; }
  // The codes of the vertices' normals at a frame of the scene; until the next call.
  const std::vector<std::uint16_t>& NormalsAt(int frame);

 private:
  cnode* node_;
  cskin* skin_ = nullptr;  // null: a mesh
  cexpmesh mesh_;
  core::affine before_;  // of a mesh in the frame before: what turned its normals
  std::vector<std::uint16_t> codes_;
};

// Normals of all vertices in all frames, of which the first is the scene's frame `start`.
void SetMdcNormals(const cmdcfile& file, const core::scene& scene, int start);

// The normal of a vertex of a skin in the space of the bone of its first weight; zero for none.
cpoint3 BoneNormal(const core::skinstate& skin, std::uint32_t vertex);

// The normal of each vertex in the space of the bone of its first weight, which turns it in the
// games. A vertex without a weight on a bone of the file keeps the handler's.
void SetSkinNormals(const skelmesh& file, const core::scene& scene);

}  // namespace command
