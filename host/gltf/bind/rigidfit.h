#pragma once

#include <Eigen/Core>

#include "core/affine.h"

// Rigid motions, and the one that fits points onto places best. Column vectors, as the linear
// algebra library has them.

namespace gltf {

// The point p goes to rotation * p + translation; rotation is a rotation.
struct rigid {
  Eigen::Matrix3d rotation = Eigen::Matrix3d::Identity();
  Eigen::Vector3d translation = Eigen::Vector3d::Zero();
};

inline Eigen::Vector3d ToVector(const core::vec3& v) { return {v.x, v.y, v.z}; }

// Without the transform's scale, shear and mirror.
rigid ToRigid(const core::affine& transform);
core::affine ToAffine(const rigid& motion);

// Weighted sums over points x and the places y that they should come to. Lengths are parts of the
// model's size.
struct fitsums {
  double weight = 0.0;
  Eigen::Vector3d x = Eigen::Vector3d::Zero();
  Eigen::Vector3d y = Eigen::Vector3d::Zero();
  Eigen::Matrix3d xy = Eigen::Matrix3d::Zero();  // of x * y^T

  void Add(const fitsums& other);
};

struct fit {
  rigid motion;
  // How far the points reach in their second direction, squared and weighted; without that the
  // rotation is open. Of rotations that are open the one with the longer line is firmer, and of
  // mere points the one with more weight.
  double certainty = 0.0;
};

// The motion with the least weighted sum of |motion(x) - y|^2. Where the points leave the rotation
// open it is as close to `prior` as they allow. The weight must be above 0.
fit FitRigid(const fitsums& sums, const Eigen::Matrix3d& prior);

}  // namespace gltf
