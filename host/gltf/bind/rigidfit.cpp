#include "gltf/bind/rigidfit.h"

#include <Eigen/LU>
#include <Eigen/SVD>

namespace gltf {

namespace {

// What the habit counts for, per unit of weight and at the model's own size: more than the
// rounding of single precision (1e-14), less than any extent that shows.
constexpr double kHabitWeight = 1e-10;

}  // namespace

rigid ToRigid(const core::affine& transform) {
  const core::affine rotation = core::RotationOf(transform);
  rigid result;
  for (int i = 0; i < 3; ++i) {
    result.turn.col(i) = ToVector(rotation.row[i]);
  }
  result.move = ToVector(transform.move);
  return result;
}

core::affine ToAffine(const rigid& motion) {
  core::affine result;
  for (int i = 0; i < 3; ++i) {
    result.row[i] = {motion.turn(0, i), motion.turn(1, i), motion.turn(2, i)};
  }
  result.move = {motion.move.x(), motion.move.y(), motion.move.z()};
  return result;
}

void fitsums::Add(const fitsums& other) {
  weight += other.weight;
  x += other.x;
  y += other.y;
  xy += other.xy;
}

fit FitRigid(const fitsums& sums, const Eigen::Matrix3d& habit) {
  const Eigen::Matrix3d cross = sums.xy - sums.x * sums.y.transpose() / sums.weight;
  const Eigen::JacobiSVD<Eigen::Matrix3d> parts(
      cross + kHabitWeight * sums.weight * habit.transpose(),
      Eigen::ComputeFullU | Eigen::ComputeFullV);
  Eigen::Matrix3d turn = parts.matrixV() * parts.matrixU().transpose();
  if (turn.determinant() < 0.0) {
    Eigen::Matrix3d unmirrored = parts.matrixV();
    unmirrored.col(2) *= -1.0;
    turn = unmirrored * parts.matrixU().transpose();
  }
  fit result;
  result.motion.turn = turn;
  result.motion.move = (sums.y - turn * sums.x) / sums.weight;
  const Eigen::Vector3d& extent = parts.singularValues();
  result.firmness = extent[1] + 1e-6 * extent[0] + 1e-12 * sums.weight;
  return result;
}

}  // namespace gltf
