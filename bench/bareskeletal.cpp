#include "bareskeletal.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numbers>
#include <vector>

#include "mds/mdsfile.h"
#include "skeletal/angles.h"

namespace {

using bare::Bytes;
using bare::float4;
using bare::matrix;

std::array<little<float>, 3> Stored(float4 p) { return {p[0], p[1], p[2]}; }

std::int16_t Angle(float y, float x) {
  constexpr float kUnitsPerRadian = -32768.0F / std::numbers::pi_v<float>;
  return static_cast<std::int16_t>(static_cast<std::int32_t>(std::atan2(y, x) * kUnitsPerRadian));
}

float Level(float x, float y) { return std::sqrt(x * x + y * y); }

mdsBoneFrame Encoded(const matrix& world, const matrix* parent) {
  const float4* const m = world.row;
  mdsBoneFrame made{};
  made.angles = {Angle(m[2][0], Level(m[0][0], m[1][0])), Angle(-m[1][0], m[0][0]),
                 Angle(-m[2][1], m[2][2]), 0};
  if (parent != nullptr) {
    const float4 d = m[3] - parent->row[3];
    made.ofsAngles = {Angle(d[2], Level(d[0], d[1])), Angle(-d[1], d[0])};
  }
  return made;
}

struct surface {
  mdsSurface header{};
  std::vector<unsigned char> vertices;  // each with its weights
  std::vector<mdsTriangle> triangles;
  std::vector<little<std::int32_t>> collapseMap;
  std::vector<little<std::int32_t>> boneReferences;
};

template <class T>
void Append(std::vector<unsigned char>& to, const T& record) {
  const auto* const bytes = reinterpret_cast<const unsigned char*>(&record);
  to.insert(to.end(), bytes, bytes + sizeof record);
}

void AppendVertex(const bare::skin& from, std::size_t v, surface& to) {
  const core::meshstate& mesh = from.source->mesh;
  const cpoint3& normal = mesh.normals[v];
  const core::skinstretch& stretch = from.source->stretches[v];
  mdsVertex vertex{};
  vertex.normal = {normal.x, normal.y, normal.z};
  vertex.texCoords = {mesh.tverts[v].x, mesh.tverts[v].y};
  vertex.numWeights = static_cast<std::int32_t>(stretch.count);
  Append(to.vertices, vertex);
  for (std::uint32_t i = 0; i < stretch.count; ++i) {
    const cskinweight& weight = from.source->weights[stretch.first + i];
    const cpoint3& offset = weight.offset;
    Append(to.vertices, mdsWeight{static_cast<std::int32_t>(from.joints[from.starts[v] + i]),
                                  weight.weight,
                                  {offset.x, offset.y, offset.z}});
  }
}

void ReferToBones(const bare::skin& from, const std::vector<bare::joint>& joints, surface& to) {
  std::vector<char> used(joints.size());
  for (const std::uint32_t joint : from.joints) {
    used[joint] = 1;
  }
  for (std::size_t j = joints.size(); j-- > 0;) {
    if (used[j] != 0) {
      used[joints[j].parent] = 1;
    }
  }
  for (std::size_t j = 0; j < joints.size(); ++j) {
    if (used[j] != 0) {
      to.boneReferences.emplace_back(static_cast<std::int32_t>(j));
    }
  }
}

surface SurfaceOf(const bare::skin& from, const std::vector<bare::joint>& joints, std::int32_t at) {
  surface made;
  for (std::size_t v = 0; v < from.NumVerts(); ++v) {
    AppendVertex(from, v, made);
  }
  for (const cface& face : from.source->mesh.faces) {
    made.triangles.push_back({face.v[0], face.v[1], face.v[2]});
  }
  made.collapseMap.resize(from.NumVerts());
  ReferToBones(from, joints, made);
  mdsSurface& header = made.header;
  header.ident = kMdsSurfaceIdent;
  SetName(header.name, from.name.c_str());
  header.ofsHeader = -at;
  header.numVerts = static_cast<std::int32_t>(from.NumVerts());
  header.numTriangles = static_cast<std::int32_t>(made.triangles.size());
  header.numBoneReferences = static_cast<std::int32_t>(made.boneReferences.size());
  header.ofsVerts = sizeof header;
  header.ofsTriangles = header.ofsVerts + Bytes(made.vertices);
  header.ofsCollapseMap = header.ofsTriangles + Bytes(made.triangles);
  header.ofsBoneReferences = header.ofsCollapseMap + Bytes(made.collapseMap);
  header.ofsEnd = header.ofsBoneReferences + Bytes(made.boneReferences);
  return made;
}

// The frames, each with its bones' angles behind its head.
std::vector<unsigned char> FramesOf(const bare::model& model) {
  const std::size_t numJoints = model.joints.size();
  std::vector<unsigned char> made;
  made.reserve(model.numFrames * (sizeof(mdsFrame) + numJoints * sizeof(mdsBoneFrame)));
  std::vector<matrix> posed(numJoints);
  for (std::size_t f = 0; f < model.numFrames; ++f) {
    model.PoseInto(posed.data(), f);
    const bare::box box = model.BoxOf(posed.data());
    mdsFrame frame{};
    frame.bounds = {Stored(box.low), Stored(box.high)};
    frame.radius = box.LongestEdge();
    frame.parentOffset = Stored(posed[0].row[3]);
    Append(made, frame);
    for (std::size_t j = 0; j < numJoints; ++j) {
      const std::size_t parent = model.joints[j].parent;
      Append(made, Encoded(posed[j], parent != j ? &posed[parent] : nullptr));
    }
  }
  return made;
}

std::vector<mdsBoneInfo> BonesOf(const std::vector<bare::joint>& joints) {
  std::vector<mdsBoneInfo> made(joints.size());
  for (std::size_t j = 0; j < joints.size(); ++j) {
    SetName(made[j].name, joints[j].name.c_str());
    made[j].parent = -1;
    if (const std::size_t parent = joints[j].parent; parent != j) {
      const cpoint3& p = joints[j].keys[0].pos;
      made[j].parent = static_cast<std::int32_t>(parent);
      made[j].parentDist = std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z);
    }
  }
  return made;
}

}  // namespace

std::size_t WriteBareMds(const bare::model& model, const std::string& path) {
  const std::vector<unsigned char> frames = FramesOf(model);
  const std::vector<mdsBoneInfo> bones = BonesOf(model.joints);
  std::vector<mdsHeader> header(1);
  std::ranges::copy(kMdsIdent, header[0].ident.begin());
  header[0].version = kMdsVersion;
  header[0].lodScale = 1.0F;
  header[0].numFrames = static_cast<std::int32_t>(model.numFrames);
  header[0].numBones = static_cast<std::int32_t>(bones.size());
  header[0].numSurfaces = static_cast<std::int32_t>(model.skins.size());
  std::int32_t at = sizeof(mdsHeader);
  header[0].ofsFrames = at;
  header[0].ofsBones = at += Bytes(frames);
  header[0].ofsSurfaces = at += Bytes(bones);
  std::vector<surface> surfaces;
  for (const bare::skin& each : model.skins) {
    surfaces.push_back(SurfaceOf(each, model.joints, at));
    at += surfaces.back().header.ofsEnd;
  }
  header[0].ofsTags = header[0].ofsEnd = at;
  bare::output out(path);
  out.Put(header);
  out.Put(frames);
  out.Put(bones);
  for (const surface& each : surfaces) {
    out.Put(std::vector{each.header});
    out.Put(each.vertices);
    out.Put(each.triangles);
    out.Put(each.collapseMap);
    out.Put(each.boneReferences);
  }
  return out.Written();
}

namespace {

// Of a coordinate or a length, in scene units: some steps of single precision at the end of a chain
// of joints.
constexpr float kTolerance = 1e-3F;

bool Near(float a, float b) { return std::abs(a - b) <= kTolerance; }

bool Near(const std::array<little<float>, 3>& a, const std::array<little<float>, 3>& b) {
  return std::ranges::equal(a, b, [](float x, float y) { return Near(x, y); });
}

// Pitch and what follows it, each within a step: sums are taken in another order, which may move an
// angle over the edge of one. Where the pitch is steep, the others count for less.
template <std::size_t Count>
bool WithinStep(const std::array<little<std::int16_t>, Count>& a,
                const std::array<little<std::int16_t>, Count>& b) {
  const float level = std::cos(DecodeAngle(a[0]) * std::numbers::pi_v<float> / 180.0F);
  for (std::size_t i = 0; i < Count; ++i) {
    const int apart = std::abs(static_cast<std::int16_t>(a[i] - b[i]));
    if ((i == 0 ? 1.0F : level) * static_cast<float>(apart) > 1.0F) {
      return false;
    }
  }
  return true;
}

bool SameFrame(const mdsFrame& a, const mdsFrame& b, std::int32_t numBones) {
  if (!Near(a.bounds[0], b.bounds[0]) || !Near(a.bounds[1], b.bounds[1]) ||
      !Near(a.localOrigin, b.localOrigin) || !Near(a.radius, b.radius) ||
      !Near(a.parentOffset, b.parentOffset)) {
    return false;
  }
  return std::equal(skelrig::BoneFrames(&a), skelrig::BoneFrames(&a) + numBones,
                    skelrig::BoneFrames(&b), [](const mdsBoneFrame& x, const mdsBoneFrame& y) {
                      return WithinStep(x.angles, y.angles) && WithinStep(x.ofsAngles, y.ofsAngles);
                    });
}

bool SameBone(const mdsBoneInfo& a, const mdsBoneInfo& b) {
  return a.name == b.name && a.parent == std::int32_t{b.parent} &&
         Near(a.torsoWeight, b.torsoWeight) && Near(a.parentDist, b.parentDist) &&
         a.flags == std::int32_t{b.flags};
}

bool SameSurface(const mdsSurface& a, const mdsSurface& b) {
  const std::int32_t size = a.ofsEnd;
  return size == b.ofsEnd && std::memcmp(&a, &b, static_cast<std::size_t>(size)) == 0;
}

}  // namespace

std::string MdsDifference(const std::string& a, const std::string& b) {
  cmdsfile one;
  cmdsfile other;
  if (!one.Load(a.c_str()) || !other.Load(b.c_str()) || one.Size() != other.Size()) {
    return "tables";
  }
  if (!std::ranges::equal(one.frames, other.frames, [&](const mdsFrame* x, const mdsFrame* y) {
        return SameFrame(*x, *y, one.numBones);
      })) {
    return "frames";
  }
  if (!std::equal(one.bones, one.bones + one.numBones, other.bones, other.bones + other.numBones,
                  SameBone)) {
    return "bones";
  }
  return std::ranges::equal(one.surfaces, other.surfaces,
                            [](const skelsurfentry& x, const skelsurfentry& y) {
                              return SameSurface(*x.surface, *y.surface);
                            })
             ? ""
             : "surfaces";
}
