#include "gltf/bind/bindsums.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace gltf {

namespace {

// Of a vertex with more weights than this its heaviest decide on the pose. Models have up to four.
constexpr std::size_t kMostWeights = 16;

double SizeOf(const bindvertices& vertices) {
  double squares = 0.0;
  double weight = 0.0;
  for (const bindweight& in : vertices.weights) {
    squares += in.weight * core::Dot(in.offset, in.offset);
    weight += in.weight;
  }
  return squares > 0.0 ? std::sqrt(squares / weight) : 1.0;
}

// Finds a pair's place among the sums.
class pairfinder {
 public:
  explicit pairfinder(std::vector<pairsums>& pairs) : pairs_(pairs) {}

  // first < second. Neighbouring vertices mostly have the same joints.
  pairsums& Find(std::uint32_t first, std::uint32_t second) {
    const std::uint64_t key = (std::uint64_t{first} << 32) | second;
    if (key != lastKey_) {
      const auto next = static_cast<std::uint32_t>(pairs_.size());
      const auto [place, fresh] = places_.try_emplace(key, next);
      if (fresh) {
        pairs_.emplace_back().joints = {first, second};
      }
      lastKey_ = key;
      last_ = place->second;
    }
    return pairs_[last_];
  }

 private:
  std::vector<pairsums>& pairs_;
  std::unordered_map<std::uint64_t, std::uint32_t> places_;
  std::uint64_t lastKey_ = UINT64_MAX;
  std::uint32_t last_ = 0;
};

}  // namespace

bindsums Gather(const bindvertices& vertices, std::size_t numJoints) {
  bindsums sums;
  sums.size = SizeOf(vertices);
  sums.joints.resize(numJoints);
  pairfinder pairs(sums.pairs);
  std::vector<bindweight> chosen;
  std::vector<Eigen::Vector3d> at;
  for (std::size_t v = 0; v + 1 < vertices.starts.size(); ++v) {
    chosen.assign(vertices.weights.begin() + static_cast<std::ptrdiff_t>(vertices.starts[v]),
                  vertices.weights.begin() + static_cast<std::ptrdiff_t>(vertices.starts[v + 1]));
    if (chosen.size() > kMostWeights) {
      std::partial_sort(
          chosen.begin(), chosen.begin() + kMostWeights, chosen.end(),
          [](const bindweight& a, const bindweight& b) { return a.weight > b.weight; });
      chosen.resize(kMostWeights);
    }
    std::sort(chosen.begin(), chosen.end(),
              [](const bindweight& a, const bindweight& b) { return a.joint < b.joint; });
    double whole = 0.0;
    at.clear();
    for (const bindweight& in : chosen) {
      whole += in.weight;
      at.emplace_back(ToVector(in.offset) / sums.size);
      jointsums& joint = sums.joints[in.joint];
      joint.weight += in.weight;
      joint.at += in.weight * at.back();
      joint.own += in.weight * at.back() * at.back().transpose();
    }
    for (std::size_t a = 0; a + 1 < chosen.size(); ++a) {
      for (std::size_t b = a + 1; b < chosen.size(); ++b) {
        pairsums& pair = pairs.Find(chosen[a].joint, chosen[b].joint);
        const double weight = chosen[a].weight * chosen[b].weight / whole;
        pair.weight += weight;
        pair.at[0] += weight * at[a];
        pair.at[1] += weight * at[b];
        pair.own[0] += weight * at[a] * at[a].transpose();
        pair.own[1] += weight * at[b] * at[b].transpose();
        pair.cross += weight * at[a] * at[b].transpose();
      }
    }
  }
  return sums;
}

void MoveSums(const rigid& motion, double weight, Eigen::Vector3d& at, Eigen::Matrix3d& own) {
  own = MoveCross(motion, motion, weight, at, at, own);
  at = motion.rotation * at + weight * motion.translation;
}

Eigen::Matrix3d MoveCross(const rigid& first, const rigid& second, double weight,
                          const Eigen::Vector3d& firstAt, const Eigen::Vector3d& secondAt,
                          const Eigen::Matrix3d& cross) {
  return first.rotation * cross * second.rotation.transpose() +
         (first.rotation * firstAt) * second.translation.transpose() +
         first.translation * (second.rotation * secondAt).transpose() +
         weight * first.translation * second.translation.transpose();
}

}  // namespace gltf
