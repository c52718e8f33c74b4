#include "gltf/write/skinning.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "core/box.h"
#include "core/deform.h"
#include "core/pose.h"
#include "core/state.h"
#include "core/timeline.h"
#include "gltf/write/fault.h"

namespace gltf {

namespace {

// How far the sum of a vertex's weights may be from 1, per weight: what single precision leaves.
constexpr double kSumRounding = 1e-7;
// From here on it is more than rounding, and said.
constexpr double kSumShown = 1e-4;

bool IsFinite(const cpoint3& p) {
  return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

bool IsFinite(const core::affine& m) {
  double sum = 0.0;
  for (const core::vec3& v : {m.row[0], m.row[1], m.row[2], m.translation}) {
    sum += v.x * 0.0 + v.y * 0.0 + v.z * 0.0;
  }
  return sum == 0.0;
}

[[noreturn]] void FailAt(const cnode& node, const std::string& what) {
  throw writefault("node \"" + node.State().name + "\": " + what);
}

// The frame in whose pose the skin's mesh stands, if it stands in one at either end of the range.
// An import builds its meshes in the last pose that it computed.
std::optional<int> FrameOfMesh(const core::scene& scene, cskin& skin) {
  constexpr float kSamePlace = 1e-4F;  // of the mesh's size
  const std::vector<cpoint3>& rest = skin.Skin().mesh.verts;
  cpoint3 low;
  cpoint3 high;
  core::BoxOf(rest, low, high);
  const float reach = kSamePlace * (high - low).Length();
  for (const int frame : {core::LastKeyFrame(scene), scene.animStart}) {
    const std::vector<cpoint3>& posed = core::DeformAtFrame(skin, frame, false).positions;
    if (std::equal(rest.begin(), rest.end(), posed.begin(),
                   [reach](cpoint3 a, cpoint3 b) { return (a - b).Length() <= reach; })) {
      return frame;
    }
  }
  return std::nullopt;
}

void Warn(std::vector<std::string>& warnings, std::size_t count, const char* one,
          const char* many) {
  if (count != 0) {
    warnings.push_back(std::to_string(count) + (count == 1 ? one : many));
  }
}

}  // namespace

skinning::skinning(const core::scene& scene, std::vector<std::string>& warnings)
    : first_(scene.Nodes().size(), kNone) {
  counts changed;
  for (std::size_t node = 0; node < first_.size(); ++node) {
    if (scene.Nodes()[node]->GetType() == kNodeSkin) {
      Collect(scene, node, changed);
    }
  }
  NumberJoints(first_.size());
  Recover(scene);
  Measure();
  Warn(warnings, changed.foreign, " weight on a bone outside the scene is left out",
       " weights on bones outside the scene are left out");
  Warn(warnings, changed.negative, " weight below 0 is left out", " weights below 0 are left out");
  Warn(warnings, changed.unequal,
       " vertex has weights that do not sum up to 1, and is written with weights that do",
       " vertices have weights that do not sum up to 1, and are written with weights that do");
}

void skinning::Collect(const core::scene& scene, std::size_t node, counts& changed) {
  auto& skin = static_cast<cskin&>(*scene.Nodes()[node]);
  const core::skinstate& state = skin.Skin();
  const std::size_t vertices = vertices_.starts.size() - 1;
  const std::size_t weights = vertices_.weights.size();
  bool weighted = false;
  for (std::size_t v = 0; v < state.stretches.size(); ++v) {
    TakeVertex(scene, skin, v, changed);
    weighted = weighted || vertices_.weights.back().joint < first_.size();
  }
  if (weighted) {
    first_[node] = vertices;
    TakeNormalsOfPose(scene, skin, vertices);
    return;
  }
  vertices_.starts.resize(vertices + 1);
  vertices_.weights.resize(weights);
  normals_.resize(weights);
}

// The weights of an import have normals of the first frame's joints and the mesh of the last
// frame, so where the mesh stands in the pose of a frame its own normals in that pose count.
void skinning::TakeNormalsOfPose(const core::scene& scene, cskin& skin, std::size_t firstVertex) {
  const std::optional<int> frame = FrameOfMesh(scene, skin);
  if (!frame) {
    return;
  }
  const core::affine place = core::WorldAtFrame(skin, *frame);
  std::vector<std::optional<core::affine>> fromWorld(first_.size());
  const std::vector<cpoint3>& normals = skin.Skin().mesh.normals;
  for (std::size_t v = firstVertex; v + 1 < vertices_.starts.size(); ++v) {
    const core::vec3 normal = core::TransformVector(core::ToVec(normals[v - firstVertex]), place);
    for (std::size_t i = vertices_.starts[v]; i < vertices_.starts[v + 1]; ++i) {
      const std::uint32_t bone = vertices_.weights[i].joint;
      if (bone >= first_.size()) {
        continue;  // the skin's own place, whose normal is the mesh's
      }
      std::optional<core::affine>& back = fromWorld[bone];
      if (!back) {
        back = core::RotationOf(core::WorldAtFrame(*scene.Nodes()[bone], *frame));
        core::InvertInPlace(*back);
      }
      normals_[i] = core::Unit(core::TransformVector(normal, *back));
    }
  }
}

// Joints stand for themselves by their place among the nodes for now, a skin's own place by the
// skin's number behind them all.
void skinning::TakeVertex(const core::scene& scene, const cskin& skin, std::size_t vertex,
                          counts& changed) {
  const core::skinstate& state = skin.Skin();
  const core::skinstretch& stretch = state.stretches[vertex];
  const std::size_t begin = vertices_.weights.size();
  double sum = 0.0;
  for (std::size_t i = stretch.first; i < stretch.first + stretch.count; ++i) {
    const cskinweight& in = state.weights[i];
    if (!std::isfinite(in.weight) || !IsFinite(in.offset) || !IsFinite(in.normal)) {
      FailAt(skin, "a weight of vertex " + std::to_string(vertex) + " is not a finite number");
    }
    if (in.weight == 0.0F || in.bone == nullptr) {
      continue;
    }
    if (in.weight < 0.0F || in.bone->State().owner != &scene) {
      ++(in.weight < 0.0F ? changed.negative : changed.foreign);
      continue;
    }
    const auto bone = static_cast<std::uint32_t>(in.bone->State().index);
    const double weight = in.weight;
    sum += weight;
    const auto same = std::find_if(vertices_.weights.begin() + static_cast<std::ptrdiff_t>(begin),
                                   vertices_.weights.end(),
                                   [bone](const bindweight& other) { return other.joint == bone; });
    if (same == vertices_.weights.end()) {
      vertices_.weights.push_back({bone, weight, core::ToVec(in.offset)});
      normals_.push_back(core::ToVec(in.normal));
      continue;
    }
    // Two weights of one joint move the vertex as their mean does.
    const double share = weight / (same->weight + weight);
    core::vec3& normal = normals_[static_cast<std::size_t>(same - vertices_.weights.begin())];
    same->offset = same->offset * (1.0 - share) + core::ToVec(in.offset) * share;
    normal = normal * (1.0 - share) + core::ToVec(in.normal) * share;
    same->weight += weight;
  }
  const std::size_t count = vertices_.weights.size() - begin;
  if (count == 0) {
    if (!IsFinite(state.mesh.verts[vertex])) {
      FailAt(skin, "vertex " + std::to_string(vertex) + " has no finite position");
    }
    vertices_.weights.push_back(
        {static_cast<std::uint32_t>(first_.size()) + static_cast<std::uint32_t>(skin.State().index),
         1.0, core::ToVec(state.mesh.verts[vertex])});
    normals_.push_back(core::ToVec(state.mesh.normals[vertex]));
  } else if (std::abs(sum - 1.0) > kSumRounding * static_cast<double>(count)) {
    changed.unequal += std::abs(sum - 1.0) > kSumShown ? 1U : 0U;
    for (std::size_t i = begin; i < vertices_.weights.size(); ++i) {
      vertices_.weights[i].weight /= sum;
    }
  }
  vertices_.starts.push_back(vertices_.weights.size());
}

void skinning::NumberJoints(std::size_t numNodes) {
  constexpr std::uint32_t kUnused = UINT32_MAX;
  std::vector<std::uint32_t> numbers(2 * numNodes, kUnused);
  for (const bindweight& in : vertices_.weights) {
    numbers[in.joint] = 0;
  }
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (numbers[i] != kUnused) {
      numbers[i] = static_cast<std::uint32_t>(joints_.size());
      joints_.push_back({i % numNodes, i >= numNodes});
    }
  }
  for (bindweight& in : vertices_.weights) {
    in.joint = numbers[in.joint];
  }
}

void skinning::Recover(const core::scene& scene) {
  std::vector<core::affine> pose;
  pose.reserve(joints_.size());
  for (const joint& each : joints_) {
    const cnode& node = *scene.Nodes()[each.node];
    pose.push_back(core::WorldAtFrame(node, scene.animStart));
    if (!IsFinite(pose.back())) {
      FailAt(node, "its position is not finite at frame " + std::to_string(scene.animStart));
    }
  }
  binds_ = RecoverBinds(vertices_, pose);
}

void skinning::Measure() {
  double sum = 0.0;
  for (std::size_t v = 0; v + 1 < vertices_.starts.size(); ++v) {
    const core::vec3 rest = gltf::RestPlace(vertices_, v, binds_);
    for (std::size_t i = vertices_.starts[v]; i < vertices_.starts[v + 1]; ++i) {
      const bindweight& in = vertices_.weights[i];
      const core::affine& bind = binds_[in.joint];
      const core::vec3 apart = core::TransformVector(in.offset, bind) + bind.translation - rest;
      const double distance = std::sqrt(core::Dot(apart, apart));
      residual_.largest = std::max(residual_.largest, distance);
      sum += distance;
    }
  }
  if (!vertices_.weights.empty()) {
    residual_.mean = sum / static_cast<double>(vertices_.weights.size());
  }
}

core::vec3 skinning::RestPlace(std::size_t node, std::size_t vertex) const {
  return gltf::RestPlace(vertices_, first_[node] + vertex, binds_);
}

core::vec3 skinning::RestNormal(std::size_t node, std::size_t vertex) const {
  core::vec3 normal;
  const std::size_t v = first_[node] + vertex;
  for (std::size_t i = vertices_.starts[v]; i < vertices_.starts[v + 1]; ++i) {
    const bindweight& in = vertices_.weights[i];
    normal = normal + core::TransformVector(normals_[i], binds_[in.joint]) * in.weight;
  }
  return normal;
}

std::span<const bindweight> skinning::Weights(std::size_t node, std::size_t vertex) const {
  const std::size_t v = first_[node] + vertex;
  return std::span(vertices_.weights)
      .subspan(vertices_.starts[v], vertices_.starts[v + 1] - vertices_.starts[v]);
}

}  // namespace gltf
