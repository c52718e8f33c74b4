#include "bareskin.h"

#include <algorithm>
#include <array>
#include <limits>
#include <unordered_map>

namespace bare {

namespace {

using numbers = std::unordered_map<const cnode*, std::uint32_t>;

matrix Local(const ckey& key) {
  const auto [x, y, z, w] = std::array{key.rot.x, key.rot.y, key.rot.z, key.rot.w};
  return {{float4{1 - 2 * (y * y + z * z), 2 * (x * y + w * z), 2 * (x * z - w * y), 0},
           float4{2 * (x * y - w * z), 1 - 2 * (x * x + z * z), 2 * (y * z + w * x), 0},
           float4{2 * (x * z + w * y), 2 * (y * z - w * x), 1 - 2 * (x * x + y * y), 0},
           float4{key.pos.x, key.pos.y, key.pos.z, 1}}};
}

skin SkinOf(const std::string& name, const core::skinstate& from, const numbers& numberOf) {
  skin made{name, &from, {}, {}, {}};
  for (const core::skinstretch& stretch : from.stretches) {
    made.starts.push_back(static_cast<std::uint32_t>(made.joints.size()));
    for (std::uint32_t i = 0; i < stretch.count; ++i) {
      const cskinweight& in = from.weights[stretch.first + i];
      made.joints.push_back(numberOf.at(in.bone));
      made.offsets.push_back(in.weight * float4{in.offset.x, in.offset.y, in.offset.z, 1.0F});
    }
  }
  made.starts.push_back(static_cast<std::uint32_t>(made.joints.size()));
  return made;
}

}  // namespace

float box::LongestEdge() const {
  const float4 edges = high - low;
  return std::max({edges[0], edges[1], edges[2]});
}

void model::PoseInto(matrix* posed, std::size_t frame) const {
  for (std::size_t j = 0; j < joints.size(); ++j) {
    posed[j] = Local(joints[j].keys[frame]);
    if (joints[j].parent != j) {
      for (float4& row : posed[j].row) {
        row = Times(row, posed[joints[j].parent]);
      }
    }
  }
}

box model::BoxOf(const matrix* posed) const {
  constexpr float kFar = std::numeric_limits<float>::infinity();
  float4 low = float4{kFar, kFar, kFar, kFar};
  float4 high = -low;
  for (const skin& each : skins) {
    for (std::size_t v = 0; v < each.NumVerts(); ++v) {
      const float4 p = each.Skinned(v, posed);
      low = core::Least(p, low);
      high = core::Largest(p, high);
    }
  }
  return {low, high};
}

model ModelOf(const core::scene& scene) {
  model made;
  numbers numberOf;
  for (cnode* node : scene.Nodes()) {
    if (node->State().type == kNodeBone) {
      const auto number = static_cast<std::uint32_t>(made.joints.size());
      const cnode* parent = node->State().parent;
      numberOf.emplace(node, number);
      made.joints.push_back({node->State().name, parent == nullptr ? number : numberOf.at(parent),
                             node->State().track->State().keys});
    }
  }
  for (cnode* node : scene.Nodes()) {
    if (node->State().type == kNodeSkin) {
      made.skins.push_back(SkinOf(node->State().name, static_cast<cskin*>(node)->Skin(), numberOf));
    }
  }
  made.numFrames = static_cast<std::size_t>(scene.animEnd) + 1;
  return made;
}

output::~output() {
  if (file_ != nullptr) {
    std::fclose(file_);
  }
}

void output::PutBytes(const void* bytes, std::size_t size) {
  written_ += file_ != nullptr ? std::fwrite(bytes, 1, size, file_) : 0;
}

}  // namespace bare
