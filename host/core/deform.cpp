#include "core/deform.h"

#include <unordered_map>

#include "core/pose.h"

namespace core {

namespace {

std::unique_ptr<deformer> Prepare(const skinstate& skin) {
  auto made = std::make_unique<deformer>();
  std::size_t total = 0;
  for (const skinstretch& stretch : skin.stretches) {
    total += stretch.count;
  }
  made->influences.reserve(total);
  made->starts.reserve(skin.mesh.verts.size() + 1);
  std::unordered_map<const cnode*, std::uint32_t> indices;
  const cnode* last = nullptr;
  std::uint32_t lastIndex = 0;
  for (const skinstretch& stretch : skin.stretches) {
    made->starts.push_back(static_cast<std::uint32_t>(made->influences.size()));
    for (std::uint32_t i = 0; i < stretch.count; ++i) {
      const cskinweight& weight = skin.weights[stretch.first + i];
      if (weight.bone == nullptr) {
        continue;
      }
      if (weight.bone != last) {
        const auto next = static_cast<std::uint32_t>(made->joints.size());
        const auto [place, fresh] = indices.try_emplace(weight.bone, next);
        if (fresh) {
          made->joints.push_back(weight.bone);
        }
        last = weight.bone;
        lastIndex = place->second;
      }
      made->influences.push_back({lastIndex, weight.weight, weight.offset, weight.normal});
    }
  }
  made->starts.push_back(static_cast<std::uint32_t>(made->influences.size()));
  made->matrices.resize(made->joints.size());
  made->positions.resize(skin.mesh.verts.size());
  made->normals.resize(skin.mesh.verts.size());
  return made;
}

}  // namespace

const deformer& DeformAtFrame(cskin& skin, int frame, bool withNormals) {
  skinstate& state = skin.Skin();
  if (!state.prepared) {
    state.prepared = Prepare(state);
  }
  deformer& work = *state.prepared;
  affine toLocal = WorldAtFrame(skin, frame);
  InvertInPlace(toLocal);
  for (std::size_t j = 0; j < work.joints.size(); ++j) {
    const affine joint = WorldAtFrame(*work.joints[j], frame) * toLocal;
    for (int i = 0; i < 4; ++i) {
      const vec3& row = i < 3 ? joint.row[i] : joint.move;
      work.matrices[j].m[i][0] = static_cast<float>(row.x);
      work.matrices[j].m[i][1] = static_cast<float>(row.y);
      work.matrices[j].m[i][2] = static_cast<float>(row.z);
      work.matrices[j].m[i][3] = i < 3 ? 0.0F : 1.0F;
    }
  }
  // The joints' matrices carry the move into local space once for each unit of weight; what the
  // weights of a vertex lack to 1 is made up for, since they are not normalised.
  const cpoint3 move = ToPoint(toLocal.move);
  for (std::size_t v = 0; v < work.positions.size(); ++v) {
    const std::uint32_t first = work.starts[v];
    const std::uint32_t end = work.starts[v + 1];
    if (first == end) {
      work.positions[v] = state.mesh.verts[v];
      work.normals[v] = state.mesh.normals[v];
      continue;
    }
    float sum[4] = {};
    for (std::uint32_t i = first; i < end; ++i) {
      const deformer::influence& in = work.influences[i];
      const auto& m = work.matrices[in.joint].m;
      for (int c = 0; c < 4; ++c) {
        sum[c] += in.weight *
                  (in.offset.x * m[0][c] + in.offset.y * m[1][c] + in.offset.z * m[2][c] + m[3][c]);
      }
    }
    const float missing = 1.0F - sum[3];
    work.positions[v].x = sum[0] + missing * move.x;
    work.positions[v].y = sum[1] + missing * move.y;
    work.positions[v].z = sum[2] + missing * move.z;
    if (!withNormals) {
      continue;
    }
    float turned[4] = {};
    for (std::uint32_t i = first; i < end; ++i) {
      const deformer::influence& in = work.influences[i];
      const auto& m = work.matrices[in.joint].m;
      for (int c = 0; c < 4; ++c) {
        turned[c] +=
            in.weight * (in.normal.x * m[0][c] + in.normal.y * m[1][c] + in.normal.z * m[2][c]);
      }
    }
    const vec3 normal = Unit({turned[0], turned[1], turned[2]});
    work.normals[v] = IsZero(normal) ? state.mesh.normals[v] : ToPoint(normal);
  }
  return work;
}

}  // namespace core
