#include "gltf/bind/bindrefine.h"

#include <Eigen/Geometry>
#include <Eigen/SparseCholesky>
#include <algorithm>

// Gauss-Newton steps, damped where the sum would grow. A joint's step is a small rotation w and a
// translation t in the rest pose: a place y goes to y + w x y + t.

namespace gltf {

namespace {

using Eigen::Index;
using Eigen::Matrix3d;
using Eigen::Vector3d;
using Eigen::VectorXd;
using sparse = Eigen::SparseMatrix<double>;

constexpr int kMostSteps = 100;
constexpr double kLeastDamping = 1e-9;
constexpr double kFirstDamping = 1e-7;
constexpr double kMostDamping = 1e3;
// A step that promises less, per unit of weight and at the model's own size, is over: no place is
// off by more than 1e-10 of the model.
constexpr double kLeastGain = 1e-20;
// Differences of sums below this are rounding.
constexpr double kRounding = 1e-14;

// A pair's sums in the rest pose.
struct placedpair {
  placedpair(const pairsums& pair, const std::vector<rigid>& binds)
      : at(pair.at),
        own(pair.own),
        cross(MoveCross(binds[pair.joints[0]], binds[pair.joints[1]], pair.weight, pair.at[0],
                        pair.at[1], pair.cross)) {
    MoveSums(binds[pair.joints[0]], pair.weight, at[0], own[0]);
    MoveSums(binds[pair.joints[1]], pair.weight, at[1], own[1]);
  }

  std::array<Vector3d, 2> at;
  std::array<Matrix3d, 2> own;
  Matrix3d cross;
};

double Apart(const std::vector<pairsums>& pairs, const std::vector<rigid>& binds) {
  double sum = 0.0;
  for (const pairsums& pair : pairs) {
    const placedpair in(pair, binds);
    sum += in.own[0].trace() + in.own[1].trace() - 2.0 * in.cross.trace();
  }
  return sum;
}

Matrix3d Skew(const Vector3d& v) {
  Matrix3d result;
  result << 0.0, -v.z(), v.y(), v.z(), 0.0, -v.x(), -v.y(), v.x(), 0.0;
  return result;
}

// The normal equations of a step: six unknowns a joint, w before t. All entries of the matrix
// stand in the list at every step, so that its pattern is analysed once.
class equations {
 public:
  explicit equations(std::size_t numJoints)
      : size_(static_cast<Index>(6 * numJoints)), slope(size_), matrix_(size_, size_) {}

  void Linearise(const std::vector<pairsums>& pairs, const std::vector<rigid>& binds) {
    entries_.clear();
    slope.setZero();
    for (Index i = 0; i < size_; ++i) {
      entries_.emplace_back(i, i, 0.0);
    }
    const Matrix3d one = Matrix3d::Identity();
    for (const pairsums& pair : pairs) {
      const placedpair in(pair, binds);
      const Index a = Index{6} * pair.joints[0];
      const Index b = Index{6} * pair.joints[1];
      const Matrix3d reach = pair.weight * one;
      for (const int i : {0, 1}) {
        const Index at = i == 0 ? a : b;
        AddBlock(at, at,
                 in.own[static_cast<std::size_t>(i)].trace() * one -
                     in.own[static_cast<std::size_t>(i)]);
        AddBoth(at, at + 3, Skew(in.at[static_cast<std::size_t>(i)]));
        AddBlock(at + 3, at + 3, reach);
      }
      AddBoth(a, b, in.cross.transpose() - in.cross.trace() * one);
      AddBoth(a, b + 3, -Skew(in.at[0]));
      AddBoth(a + 3, b, Skew(in.at[1]));
      AddBoth(a + 3, b + 3, -reach);

      const Matrix3d& m = in.cross;
      const Vector3d twist(m(1, 2) - m(2, 1), m(2, 0) - m(0, 2), m(0, 1) - m(1, 0));
      const Vector3d gap = in.at[0] - in.at[1];
      slope.segment<3>(a) -= twist;
      slope.segment<3>(a + 3) += gap;
      slope.segment<3>(b) += twist;
      slope.segment<3>(b + 3) -= gap;
    }
    matrix_.setFromTriplets(entries_.begin(), entries_.end());
    diagonal_ = matrix_.diagonal();
  }

  // false: no step can be told.
  bool Solve(double damping, VectorXd& step) {
    sparse damped = matrix_;
    for (Index i = 0; i < size_; ++i) {
      // A joint's weight in its pairs stands at its translation.
      const double weight = diagonal_[i - i % 6 + 3];
      damped.coeffRef(i, i) =
          weight > 0.0 ? diagonal_[i] + damping * (diagonal_[i] + 0.01 * weight) : 1.0;
    }
    if (!analysed_) {
      solver_.analyzePattern(damped);
      analysed_ = true;
    }
    solver_.factorize(damped);
    if (solver_.info() != Eigen::Success) {
      return false;
    }
    step = solver_.solve(-slope);
    return step.allFinite();
  }

 private:
  void AddBlock(Index row, Index column, const Matrix3d& block) {
    for (Index r = 0; r < 3; ++r) {
      for (Index c = 0; c < 3; ++c) {
        entries_.emplace_back(row + r, column + c, block(r, c));
      }
    }
  }
  void AddBoth(Index row, Index column, const Matrix3d& block) {
    AddBlock(row, column, block);
    AddBlock(column, row, block.transpose());
  }

  Index size_;

 public:
  VectorXd slope;

 private:
  sparse matrix_;
  VectorXd diagonal_;
  std::vector<Eigen::Triplet<double, Index>> entries_;
  Eigen::SimplicialLDLT<sparse> solver_;
  bool analysed_ = false;
};

void Advance(const VectorXd& step, std::vector<rigid>& binds) {
  for (std::size_t j = 0; j < binds.size(); ++j) {
    const auto at = static_cast<Index>(6 * j);
    const Vector3d w = step.segment<3>(at);
    const double angle = w.norm();
    if (angle > 0.0) {
      const Matrix3d rotation = Eigen::AngleAxisd(angle, w / angle).toRotationMatrix();
      binds[j].rotation = rotation * binds[j].rotation;
      binds[j].translation = rotation * binds[j].translation;
    }
    binds[j].translation += step.segment<3>(at + 3);
  }
}

}  // namespace

void RefineBinds(const std::vector<pairsums>& pairs, std::vector<rigid>& binds) {
  if (pairs.empty()) {
    return;
  }
  double weight = 0.0;
  for (const pairsums& pair : pairs) {
    weight += pair.weight;
  }
  equations system(binds.size());
  system.Linearise(pairs, binds);
  double apart = Apart(pairs, binds);
  double damping = kFirstDamping;
  VectorXd step;
  std::vector<rigid> moved;
  for (int n = 0; n < kMostSteps && damping < kMostDamping; ++n) {
    if (!system.Solve(damping, step)) {
      damping *= 10.0;
      continue;
    }
    if (-system.slope.dot(step) < kLeastGain * weight) {
      return;
    }
    moved = binds;
    Advance(step, moved);
    const double now = Apart(pairs, moved);
    if (now > apart + kRounding * weight) {
      damping *= 10.0;
      continue;
    }
    binds.swap(moved);
    apart = now;
    damping = std::max(damping * 0.1, kLeastDamping);
    system.Linearise(pairs, binds);
  }
}

}  // namespace gltf
