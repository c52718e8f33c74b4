#include "gltf/bind/rigidfit.h"

#include <Eigen/LU>
#include <Eigen/SVD>

namespace gltf {

namespace {

// What the prior counts for, per unit of weight and at the model's own size: more than the
// rounding of single precision (1e-14), less than any extent that shows.
constexpr double kPriorWeight = 1e-10;

}  // namespace

rigid ToRigid(const core::affine& transform) {
  const core::affine rotation = core::RotationOf(transform);
  rigid result;
  for (int i = 0; i < 3; ++i) {
    result.rotation.col(i) = ToVector(rotation.row[i]);
  }
  result.translation = ToVector(transform.translation);
  return result;
}

core::affine ToAffine(const rigid& motion) {
  core::affine result;
  for (int i = 0; i < 3; ++i) {
    result.row[i] = {motion.rotation(0, i), motion.rotation(1, i), motion.rotation(2, i)};
  }
  result.translation = {motion.translation.x(), motion.translation.y(), motion.translation.z()};
  return result;
}

void fitsums::Add(const fitsums& other) {
  weight += other.weight;
  x += other.x;
  y += other.y;
  xy += other.xy;
}

fit FitRigid(const fitsums& sums, const Eigen::Matrix3d& prior) {
  const Eigen::Matrix3d cross = sums.xy - sums.x * sums.y.transpose() / sums.weight;
  const Eigen::JacobiSVD<Eigen::Matrix3d> parts(
      cross + kPriorWeight * sums.weight * prior.transpose(),
      Eigen::ComputeFullU | Eigen::ComputeFullV);
  Eigen::Matrix3d rotation = parts.matrixV() * parts.matrixU().transpose();
  if (rotation.determinant() < 0.0) {
    Eigen::Matrix3d unmirrored = parts.matrixV();
    unmirrored.col(2) *= -1.0;
    rotation = unmirrored * parts.matrixU().transpose();
  }
  fit result;
  result.motion.rotation = rotation;
  result.motion.translation = (sums.y - rotation * sums.x) / sums.weight;
  const Eigen::Vector3d& extent = parts.singularValues();
  result.certainty = extent[1] + 1e-6 * extent[0] + 1e-12 * sums.weight;
  return result;
}

}  // namespace gltf
