#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "gltf/bind/bindpose.h"
#include "gltf/bind/rigidfit.h"

// All that a recovery asks of the vertices, as sums that are taken once: what it costs afterwards
// depends on the joints alone.

namespace gltf {

// Weighted sums over all vertices of a joint, of their offsets.
struct jointsums {
  double weight = 0.0;
  Eigen::Vector3d at = Eigen::Vector3d::Zero();
  Eigen::Matrix3d own = Eigen::Matrix3d::Zero();  // of x * x^T
};

// Weighted sums over the vertices that two joints share, of their offsets in the first and the
// second. The weight of a vertex is the product of its two weights, so that the sum over all pairs
// of weight * |first place - second place|^2 is what the vertices come to at their best rest
// places.
struct pairsums {
  std::array<std::uint32_t, 2> joints{};
  double weight = 0.0;
  std::array<Eigen::Vector3d, 2> at{Eigen::Vector3d::Zero(), Eigen::Vector3d::Zero()};
  std::array<Eigen::Matrix3d, 2> own{Eigen::Matrix3d::Zero(), Eigen::Matrix3d::Zero()};
  Eigen::Matrix3d cross = Eigen::Matrix3d::Zero();  // of first * second^T
};

struct bindsums {
  double size = 1.0;  // of the model: all lengths below are divided by it
  std::vector<jointsums> joints;
  std::vector<pairsums> pairs;
};

bindsums Gather(const bindvertices& vertices, std::size_t numJoints);

// The sums over the same points after motions: of each point's own, and of x * y^T of two lists.
void MoveSums(const rigid& motion, double weight, Eigen::Vector3d& at, Eigen::Matrix3d& own);
Eigen::Matrix3d MoveCross(const rigid& first, const rigid& second, double weight,
                          const Eigen::Vector3d& firstAt, const Eigen::Vector3d& secondAt,
                          const Eigen::Matrix3d& cross);

}  // namespace gltf
