#include "core/deform.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <unordered_map>

#include "core/pose.h"
#include "plugin/host/scene.h"

namespace core {

namespace {

void PrepareTargets(const skinstate& skin,
                    const std::unordered_map<const cnode*, std::uint32_t>& indices,
                    deformer& made) {
  made.toJoints.resize(made.joints.size());
  made.positionTurns.resize(made.joints.size());
  made.normalTurns.resize(made.joints.size());
  for (const skinstate::displacement& each : skin.displacements) {
    if (const auto found = indices.find(each.joint); found != indices.end()) {
      deformer::turning& to = made.toJoints[found->second];
      to.position = {{each.toJoint.row[0], each.toJoint.row[1], each.toJoint.row[2]}, {}};
      to.normal = OfUnitSize(ForNormals(to.position));
    }
  }
  made.moved.resize(skin.mesh.verts.size());
  made.turned.resize(skin.mesh.verts.size());
}

std::unique_ptr<deformer> Prepare(const skinstate& skin) {
  auto made = std::make_unique<deformer>();
  std::size_t total = 0;
  for (const skinstretch& stretch : skin.stretches) {
    total += stretch.count;
  }
  made->weights.jointOf.reserve(total);
  made->weights.offsets.reserve(total);
  made->jointNormals.reserve(total);
  made->weights.starts.reserve(skin.mesh.verts.size() + 1);
  std::unordered_map<const cnode*, std::uint32_t> indices;
  const cnode* last = nullptr;
  std::uint32_t lastIndex = 0;
  for (const skinstretch& stretch : skin.stretches) {
    made->weights.starts.push_back(static_cast<std::uint32_t>(made->weights.jointOf.size()));
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
      const float w = weight.weight;
      const cpoint3& offset = weight.offset;
      const cpoint3& normal = weight.normal;
      made->weights.jointOf.push_back(lastIndex);
      made->weights.offsets.push_back(float4{w * offset.x, w * offset.y, w * offset.z, w});
      made->jointNormals.push_back(float4{normal.x, normal.y, normal.z, w});
    }
  }
  made->weights.starts.push_back(static_cast<std::uint32_t>(made->weights.jointOf.size()));
  made->matrices.resize(made->joints.size());
  made->positions.resize(skin.mesh.verts.size());
  made->normals.resize(skin.mesh.verts.size());
  const bool stretches = std::ranges::any_of(
      made->joints, [](const cnode* joint) { return !joint->State().stretches.empty(); });
  if (stretches || skin.mesh.morph != nullptr) {
    made->normalMatrices.resize(made->joints.size());
  }
  if (skin.mesh.morph != nullptr) {
    PrepareTargets(skin, indices, *made);
  }
  return made;
}

deformer::jointmatrix MatrixOf(const affine& transform) {
  deformer::jointmatrix matrix;
  for (int i = 0; i < 4; ++i) {
    const vec3& row = i < 3 ? transform.row[i] : transform.translation;
    matrix.row[i] = float4{static_cast<float>(row.x), static_cast<float>(row.y),
                           static_cast<float>(row.z), i < 3 ? 0.0F : 1.0F};
  }
  return matrix;
}

const affine* StretchAt(const cnode& node, int frame) {
  const std::vector<affine>& all = node.State().stretches;
  return all.empty() ? nullptr
                     : &all[static_cast<std::size_t>(
                           std::clamp(frame, 0, static_cast<int>(all.size()) - 1))];
}

void SetMatrices(deformer& work, const affine& toLocal, int frame) {
  for (std::size_t j = 0; j < work.joints.size(); ++j) {
    affine joint = WorldAtFrame(*work.joints[j], frame) * toLocal;
    affine normal = joint;
    if (const affine* stretch = StretchAt(*work.joints[j], frame); stretch != nullptr) {
      normal = OfUnitSize(ForNormals(*stretch)) * joint;
      joint = *stretch * joint;
    }
    work.matrices[j] = MatrixOf(joint);
    if (!work.normalMatrices.empty()) {
      work.normalMatrices[j] = MatrixOf(normal);
    }
    if (!work.toJoints.empty()) {
      work.positionTurns[j] = MatrixOf(work.toJoints[j].position * joint);
      work.normalTurns[j] = MatrixOf(work.toJoints[j].normal * normal);
    }
  }
}

void Accumulate(const std::vector<cpoint3>& from, float weight, std::vector<cpoint3>& sum) {
  for (std::size_t v = 0; v < from.size(); ++v) {
    sum[v].x += weight * from[v].x;
    sum[v].y += weight * from[v].y;
    sum[v].z += weight * from[v].z;
  }
}

void SumTargets(deformer& work, const meshstate& mesh, int frame, bool withNormals) {
  std::ranges::fill(work.moved, cpoint3());
  std::ranges::fill(work.turned, cpoint3());
  for (const morphweights::entry& each : mesh.morph->AtFrame(frame)) {
    const morphtarget& target = mesh.targets[each.target];
    Accumulate(target.positions, each.weight, work.moved);
    if (withNormals) {
      Accumulate(target.normals, each.weight, work.turned);
    }
  }
}

float4 Turned(float4 p, const deformer::jointmatrix& matrix) {
  return TimesRows(p, matrix.row[0], matrix.row[1], matrix.row[2]);
}

cpoint3 PointOf(float4 p) { return {p[0], p[1], p[2]}; }

cpoint3 Sum(const cpoint3& a, const cpoint3& b) { return MakePt3(a.x + b.x, a.y + b.y, a.z + b.z); }

cpoint3 UnitOr(const vec3& wanted, const cpoint3& otherwise) {
  const vec3 normal = Unit(wanted);
  return IsZero(normal) ? otherwise : ToPoint(normal);
}

// What no joint moves: the targets and the skin's own stretch alone.
cpoint3 RestPosition(const deformer& work, const meshstate& mesh, std::size_t v) {
  cpoint3 position = mesh.morph != nullptr ? Sum(mesh.verts[v], work.moved[v]) : mesh.verts[v];
  if (work.stretch != nullptr) {
    position = ToPoint(TransformVector(ToVec(position), *work.stretch) + work.stretch->translation);
  }
  return mesh.grid > 0.0F ? OnGrid(position, mesh.grid) : position;
}

cpoint3 RestNormal(const deformer& work, const meshstate& mesh, std::size_t v) {
  cpoint3 normal = mesh.normals[v];
  if (mesh.morph != nullptr) {
    normal = UnitOr(ToVec(Sum(normal, work.turned[v])), normal);
  }
  return work.stretch == nullptr
             ? normal
             : UnitOr(TransformVector(ToVec(normal), ForNormals(*work.stretch)), normal);
}

// Of a mesh with targets or joints that stretch: a joint turns a normal without making it longer.
cpoint3 BlendNormal(const deformer& work, const meshstate& mesh, std::size_t v) {
  vec3 sum;
  for (std::uint32_t i = work.weights.starts[v]; i < work.weights.starts[v + 1]; ++i) {
    const std::uint32_t joint = work.weights.jointOf[i];
    float4 part = Turned(work.jointNormals[i], work.normalMatrices[joint]);
    if (mesh.morph != nullptr) {
      part += Turned(LanesOf(work.turned[v]), work.normalTurns[joint]);
    }
    sum = sum + Unit({part[0], part[1], part[2]}) * double{work.jointNormals[i][3]};
  }
  return UnitOr(sum, mesh.normals[v]);
}

void BlendNormals(deformer& work, const meshstate& mesh) {
  for (std::size_t v = 0; v < work.normals.size(); ++v) {
    if (work.weights.starts[v] == work.weights.starts[v + 1]) {
      work.normals[v] = RestNormal(work, mesh, v);
      continue;
    }
    if (!work.normalMatrices.empty()) {
      work.normals[v] = BlendNormal(work, mesh, v);
      continue;
    }
    float4 sum = float4{};
    for (std::uint32_t i = work.weights.starts[v]; i < work.weights.starts[v + 1]; ++i) {
      const float4 normal = work.jointNormals[i];
      sum += normal[3] * Turned(normal, work.matrices[work.weights.jointOf[i]]);
    }
    work.normals[v] = UnitOr({sum[0], sum[1], sum[2]}, mesh.normals[v]);
  }
}

// Calls take(v, position) for n from `first` to before `end`, where v is vertexAt(n) and has the
// weights that start at `starts[n]`.
template <bool Morphs, class VertexAt, class Take>
void BlendSome(const deformer& work, const meshstate& mesh, const blendweights& weights,
               std::size_t first, std::size_t end, const VertexAt& vertexAt, const Take& take) {
  const std::uint32_t* const starts = weights.starts.data();
  const std::uint32_t* const jointOf = weights.jointOf.data();
  const float4* const offsets = weights.offsets.data();
  const deformer::jointmatrix* const matrices = work.matrices.data();
  const float4 whole = LanesOf(work.whole);
  for (std::size_t n = first; n < end; ++n) {
    const std::size_t v = vertexAt(n);
    const std::uint32_t firstWeight = starts[n];
    const std::uint32_t endWeight = starts[n + 1];
    if (firstWeight == endWeight) {
      take(v, LanesOf(RestPosition(work, mesh, v)));
      continue;
    }
    float4 sum = float4{};
    for (std::uint32_t i = firstWeight; i < endWeight; ++i) {
      const float4 part = offsets[i];
      const deformer::jointmatrix& matrix = matrices[jointOf[i]];
      sum += Turned(part, matrix) + part[3] * matrix.row[3];
      if constexpr (Morphs) {
        sum += part[3] * Turned(LanesOf(work.moved[v]), work.positionTurns[jointOf[i]]);
      }
    }
    take(v, sum + (1.0F - sum[3]) * whole);
  }
}

template <class Take>
void Blend(const deformer& work, const meshstate& mesh, const Take& take) {
  const std::size_t count = mesh.verts.size();
  const auto each = [](std::size_t n) { return n; };
  if (mesh.morph != nullptr) {
    BlendSome<true>(work, mesh, work.weights, 0, count, each, take);
  } else {
    BlendSome<false>(work, mesh, work.weights, 0, count, each, take);
  }
}

// The same for the vertices of a rigid block, to the bit: the sum begins at zero there, too.
template <class Take>
void BlendRigid(const deformer& work, const vertexblocks& blocks, const vertexblocks::block& which,
                const Take& take) {
  const std::uint32_t first = blocks.weights.starts[which.first];
  const float4* const offsets = &blocks.weights.offsets[first];
  const deformer::jointmatrix matrix = work.matrices[blocks.weights.jointOf[first]];
  const float4 whole = LanesOf(work.whole);
  for (std::uint32_t i = 0; i < which.end - which.first; ++i) {
    const float4 part = offsets[i];
    const float4 sum = float4{} + (Turned(part, matrix) + part[3] * matrix.row[3]);
    take(blocks.order[which.first + i], sum + (1.0F - sum[3]) * whole);
  }
}

// Calls take(v, position), which makes the box from low to high grow, for the vertices that may
// stand outside of what the box is by then. Blocks that made it grow go first at the next frame,
// where they are likely to be the outermost again.
template <class Take>
void VisitOutermost(deformer& work, const skinstate& skin, const float4& low, const float4& high,
                    const Take& take) {
  constexpr std::size_t kFront = 8;
  if (!work.blocks) {
    work.blocks = MakeBlocks(skin, work);
  }
  std::vector<vertexblocks::block>& blocks = work.blocks->blocks;
  std::size_t front = 0;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    if (work.blocks->Within(blocks[i], work, low, high)) {
      continue;
    }
    const float4 least = low;
    const float4 largest = high;
    if (blocks[i].rigid) {
      BlendRigid(work, *work.blocks, blocks[i], take);
    } else {
      const std::uint32_t* const vertices = work.blocks->order.data();
      BlendSome<false>(
          work, skin.mesh, work.blocks->weights, blocks[i].first, blocks[i].end,
          [=](std::size_t n) { return std::size_t{vertices[n]}; }, take);
    }
    const auto grown = (low < least) | (high > largest);
    if ((grown[0] | grown[1] | grown[2]) != 0) {
      std::swap(blocks[i], blocks[front]);
      front = (front + 1) % kFront;
    }
  }
}

deformer& Pose(cskin& skin, int frame, bool withNormals) {
  skinstate& state = skin.Skin();
  if (!state.prepared) {
    state.prepared = Prepare(state);
  }
  deformer& work = *state.prepared;
  affine toLocal = WorldAtFrame(skin, frame);
  InvertInPlace(toLocal);
  SetMatrices(work, toLocal, frame);
  work.whole = ToPoint(toLocal.translation);
  work.stretch = StretchAt(skin, frame);
  if (state.mesh.morph != nullptr) {
    SumTargets(work, state.mesh, frame, withNormals);
  }
  return work;
}

}  // namespace

const deformer& DeformAtFrame(cskin& skin, int frame, bool withNormals) {
  deformer& work = Pose(skin, frame, withNormals);
  cpoint3* const positions = work.positions.data();
  Blend(work, skin.Skin().mesh, [=](std::size_t v, float4 p) { positions[v] = PointOf(p); });
  if (withNormals) {
    BlendNormals(work, skin.Skin().mesh);
  }
  return work;
}

void PositionsAtFrame(cskin& skin, int frame, cpoint3* first, std::size_t stride) {
  auto* const bytes = reinterpret_cast<unsigned char*>(first);
  Blend(Pose(skin, frame, false), skin.Skin().mesh, [=](std::size_t v, float4 p) {
    const cpoint3 position = PointOf(p);
    std::memcpy(bytes + v * stride, &position, sizeof position);
  });
}

bool BoxAtFrame(cskin& skin, int frame, cpoint3& minimum, cpoint3& maximum) {
  deformer& work = Pose(skin, frame, false);
  const meshstate& mesh = skin.Skin().mesh;
  constexpr float kFar = std::numeric_limits<float>::infinity();
  float4 low = float4{kFar, kFar, kFar, kFar};
  float4 high = -low;
  const auto take = [&](std::size_t /*v*/, float4 p) {
    low = Least(p, low);
    high = Largest(p, high);
  };
  // Sorting the vertices into blocks costs more than a few boxes.
  constexpr int kFewBoxes = 8;
  if (mesh.morph != nullptr || work.boxes < kFewBoxes) {
    ++work.boxes;
    Blend(work, mesh, take);
  } else {
    VisitOutermost(work, skin.Skin(), low, high, take);
  }
  minimum = mesh.verts.empty() ? cpoint3() : PointOf(low);
  maximum = mesh.verts.empty() ? cpoint3() : PointOf(high);
  return !mesh.verts.empty();
}

}  // namespace core
