#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "core/scene.h"
#include "gltf/bind/bindpose.h"
#include "gltf/gltf.h"

namespace gltf {

// All skins of a scene with the joints and the rest pose that they have in common.
class skinning {
 public:
  // What moves vertices: a node, or the place of a skin whose vertex has no weights and so stays
  // where the skin's own transform has it.
  struct joint {
    std::size_t node;  // among the scene's
    bool ownPlace;     // of the skin that the node is, not of the node as a bone
  };

  // Takes the weights as a file may have them: above 0, of joints of the scene, each joint once,
  // summing up to 1. What had to be changed for that is told as warnings. Throws writefault.
  skinning(const core::scene& scene, std::vector<std::string>& warnings);

  // By the scene's order, carriers of own places behind all nodes.
  const std::vector<joint>& Joints() const { return joints_; }
  const std::vector<core::affine>& Binds() const { return binds_; }
  bindresidual Residual() const { return residual_; }

  // Of a node of the scene: whether it is a skin that has weights at all.
  bool IsSkinned(std::size_t node) const { return first_[node] != kNone; }
  // Of a vertex of a skin's source mesh.
  core::vec3 RestPlace(std::size_t node, std::size_t vertex) const;
  core::vec3 RestNormal(std::size_t node, std::size_t vertex) const;
  std::span<const bindweight> Weights(std::size_t node, std::size_t vertex) const;

 private:
  static constexpr std::size_t kNone = SIZE_MAX;
  struct counts {
    std::size_t foreign = 0;
    std::size_t negative = 0;
    std::size_t unequal = 0;  // vertices whose weights do not sum up to 1
  };

  void Collect(const core::scene& scene, std::size_t node, counts& changed);
  void TakeVertex(const core::scene& scene, const cskin& skin, std::size_t vertex, counts& changed);
  void TakeNormalsOfPose(const core::scene& scene, cskin& skin, std::size_t firstVertex);
  void NumberJoints(std::size_t numNodes);
  void Recover(const core::scene& scene);
  void Measure();

  bindvertices vertices_;
  std::vector<core::vec3> normals_;  // of each weight, in its joint's space
  std::vector<std::size_t> first_;   // of each node: its first vertex
  std::vector<joint> joints_;
  std::vector<core::affine> binds_;
  bindresidual residual_;
};

}  // namespace gltf
