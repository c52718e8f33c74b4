#include "gltf/read/surfaces.h"

#include <algorithm>
#include <cmath>

#include "core/smooth.h"
#include "core/state.h"
#include "gltf/convention.h"
#include "gltf/read/badfile.h"
#include "plugin/host/scene.h"

namespace gltf {

namespace {

// Vertices and faces that a scene may have whatever the size of its file: what many nodes that
// show one mesh come to.
constexpr std::int64_t kFreeElements = std::int64_t{1} << 22;
// The angle that smooths a mesh without normals.
constexpr float kSmoothAngle = 45.0F;

bool IsFinite(const cpoint3& p) {
  return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

// Adds the targets to the vertices, as much of each as the weights say.
void ApplyTargets(geometry& made, const std::vector<float>& weights) {
  const auto add = [](const std::vector<float>& from, float weight, std::vector<float>& to) {
    for (std::size_t i = 0; i < std::min(from.size(), to.size()); ++i) {
      to[i] += weight * from[i];
    }
  };
  for (std::size_t t = 0; t < made.targets.size(); ++t) {
    if (weights[t] != 0.0F) {
      add(made.targets[t].positions, weights[t], made.positions);
      add(made.targets[t].normals, weights[t], made.normals);
    }
  }
  made.targets.clear();
}

void Transform(const texturetransform& by, std::vector<cpoint3>& coordinates) {
  const double c = std::cos(by.rotation);
  const double s = std::sin(by.rotation);
  for (cpoint3& at : coordinates) {
    const double u = at.x * by.scale[0];
    const double v = at.y * by.scale[1];
    at.x = static_cast<float>(c * u + s * v + by.offset[0]);
    at.y = static_cast<float>(c * v - s * u + by.offset[1]);
  }
}

core::affine Inverse(core::affine m) { return core::InvertInPlace(m) ? m : core::affine(); }

}  // namespace

surfacemaker::surfacemaker(const surfacesource& from, valuereader& values)
    : from_(from),
      axes_(from.how.front),
      values_(values),
      uses_(from.doc.accessors.size()),
      room_(kFreeElements + from.doc.Bytes()) {
  for (const mesh& shape : from.doc.meshes) {
    for (const primitive& part : shape.primitives) {
      if (part.Attribute("POSITION") >= 0) {
        ++uses_[At(part.Attribute("POSITION"))];
      }
    }
  }
}

core::vec3 surfacemaker::Position(const geometry& from, std::size_t vertex) const {
  const float* p = from.positions.data() + 3 * vertex;
  return axes_.ToScene(core::vec3{p[0], p[1], p[2]}) * from_.how.scale;
}

geometry surfacemaker::Read(int index, const primitive& part, bool skinned) {
  const nodemorph& morph = from_.morphs[At(index)];
  const bool changes = morph.changing != nullptr && from_.how.keepMorphTargets;
  if (morph.changing != nullptr && !changes && (unmorphed.empty() || unmorphed.back() != index)) {
    unmorphed.push_back(index);
  }
  wantedparts wanted;
  wanted.coordinates =
      part.material < 0 ? "TEXCOORD_0" : from_.doc.materials[At(part.material)].texCoords;
  wanted.joints = skinned;
  wanted.targets =
      changes || std::ranges::any_of(morph.still, [](float weight) { return weight != 0.0F; });
  wanted.usedOnly = part.indices >= 0 && uses_[At(part.Attribute("POSITION"))] > 1;
  geometry made = ReadGeometry(from_.doc, part, wanted, values_);
  room_ -= static_cast<std::int64_t>(made.count * (1 + made.targets.size()) + made.faces.size());
  if (room_ < 0) {
    throw badfile("node " + std::to_string(index) +
                  ": the scene has more vertices and triangles than the file can have");
  }
  if (!changes) {
    ApplyTargets(made, morph.still);
  }
  return made;
}

void surfacemaker::Fill(cmesh& mesh, const geometry& from, const primitive& part,
                        const core::affine& toRest, bool mirrored) {
  core::meshstate& state = mesh.Mesh();
  state.verts.reserve(from.count);
  for (std::size_t v = 0; v < from.count; ++v) {
    state.verts.push_back(
        core::ToPoint(TransformVector(Position(from, v), toRest) + toRest.translation));
    if (!IsFinite(state.verts.back())) {
      throw badfile(part.place + ": POSITION is out of range at vertex " + std::to_string(v));
    }
  }
  // A mirror turns the faces inside out, which the scene's order of corners makes good.
  state.faces.reserve(from.faces.size());
  for (const auto& corners : from.faces) {
    cface& face = state.faces.emplace_back();
    for (std::size_t c = 0; c < 3; ++c) {
      face.v[c] = static_cast<std::int32_t>(corners[mirrored ? c : OtherCorner(c)]);
      face.tv[c] = face.v[c];
    }
  }
  mesh.numFaces = static_cast<std::int32_t>(state.faces.size());
  if (!from.coordinates.empty()) {
    state.tverts.reserve(from.count);
    for (std::size_t v = 0; v < from.count; ++v) {
      state.tverts.push_back(MakePt3(from.coordinates[2 * v], from.coordinates[2 * v + 1], 0.0F));
    }
    if (part.material >= 0 && from_.doc.materials[At(part.material)].coordinates) {
      Transform(*from_.doc.materials[At(part.material)].coordinates, state.tverts);
      if (!std::ranges::all_of(state.tverts, IsFinite)) {
        throw badfile(part.place + ": the texture transform leads out of range");
      }
    }
  }
  if (from.normals.empty()) {
    mesh.AutoSmooth(kSmoothAngle, 0);
  } else {
    const core::affine turn = core::ForNormals(toRest);
    state.normals.reserve(from.count);
    for (std::size_t v = 0; v < from.count; ++v) {
      const float* n = from.normals.data() + 3 * v;
      state.normals.push_back(core::ToPoint(
          core::Unit(TransformVector(axes_.ToScene(core::vec3{n[0], n[1], n[2]}), turn))));
    }
  }
  mesh.SetMaterial(part.material < 0 ? nullptr : from_.materials[At(part.material)]);
}

void surfacemaker::AddTargets(cmesh& mesh, const geometry& from, int index,
                              const core::affine& toRest) {
  const nodemorph& morph = from_.morphs[At(index)];
  if (from.targets.empty() || morph.changing == nullptr) {
    return;
  }
  core::meshstate& state = mesh.Mesh();
  const std::vector<std::string>& names =
      from_.doc.meshes[At(from_.doc.nodes[At(index)].mesh)].targetNames;
  const core::affine turn = core::OfUnitSize(core::ForNormals(toRest));
  const auto brought = [&](const std::vector<float>& list, double scale, const core::affine& by) {
    std::vector<cpoint3> points;
    points.reserve(list.size() / 3);
    for (std::size_t i = 0; i + 2 < list.size(); i += 3) {
      points.push_back(core::ToPoint(TransformVector(
          axes_.ToScene(core::vec3{list[i], list[i + 1], list[i + 2]}) * scale, by)));
    }
    return points;
  };
  state.morph = morph.changing;
  state.targets.reserve(from.targets.size());
  for (std::size_t t = 0; t < from.targets.size(); ++t) {
    core::morphtarget& made = state.targets.emplace_back();
    made.name = t < names.size() ? names[t] : std::string();
    made.positions = brought(from.targets[t].positions, from_.how.scale, toRest);
    made.normals = brought(from.targets[t].normals, 1.0, turn);
  }
  core::SmoothTargets(state, kSmoothAngle);
}

bool surfacemaker::IsMirrored(int index) const {
  const nodepose& pose = from_.poses.nodes[At(index)];
  return from_.how.keepChangingScale && !pose.bent.empty() && core::Volume(pose.bent.front()) < 0.0;
}

ownednode<cnode> surfacemaker::MakeMesh(int index, const primitive& part) {
  const nodepose& pose = from_.poses.nodes[At(index)];
  const geometry from = Read(index, part, false);
  ownednode<cmesh> mesh = Owned(CreateNewMesh());
  Fill(*mesh, from, part, pose.scale, (core::Volume(pose.scale) < 0.0) != IsMirrored(index));
  AddTargets(*mesh, from, index, pose.scale);
  if (from_.how.grid > 0.0) {
    mesh->Mesh().grid = static_cast<float>(from_.how.grid);
    for (cpoint3& vertex : mesh->Mesh().verts) {
      vertex = core::OnGrid(vertex, mesh->Mesh().grid);
    }
  }
  if (mesh->Mesh().morph == nullptr && (pose.bent.empty() || !from_.how.keepChangingScale)) {
    return mesh;
  }
  ownednode<cskin> skin = Owned(CreateNewSkin());
  skin->Init(mesh.get());
  return skin;
}

std::vector<surfacemaker::binding> surfacemaker::BindingsOf(int index, bool skinned) {
  std::vector<binding> made;
  if (!skinned) {
    const int carrier = from_.nodes.nodes[At(index)].carrier;
    const nodepose& own = from_.poses.nodes[At(index)];
    const nodepose& above = from_.poses.nodes[At(carrier)];
    core::affine offset = own.scale * own.rest * Inverse(above.rest);
    if (from_.how.keepChangingScale && !above.bent.empty()) {
      // The scale at and above the carrier changes and is the carrier's.
      offset = {};
      for (int at = index; at != carrier; at = from_.doc.nodes[At(at)].parent) {
        offset = offset * from_.poses.nodes[At(at)].local;
      }
    }
    made.push_back({from_.bones[At(carrier)], offset, {}});
    return made;
  }
  const int skinIndex = from_.doc.nodes[At(index)].skin;
  const skin& bound = from_.doc.skins[At(skinIndex)];
  std::vector<float> matrices;
  if (bound.inverseBind >= 0) {
    const std::string place = "skin " + std::to_string(skinIndex) + ": inverseBindMatrices";
    matrices = values_.Floats(bound.inverseBind, shape::Mat4, place);
    if (matrices.size() < 16 * bound.joints.size()) {
      throw badfile(place + " has " + std::to_string(matrices.size() / 16) + " matrices for " +
                    std::to_string(bound.joints.size()) + " joints");
    }
  }
  made.reserve(bound.joints.size());
  for (std::size_t j = 0; j < bound.joints.size(); ++j) {
    core::affine inverseBind;
    if (!matrices.empty()) {
      // Column after column there, row after row here, points being columns there and rows here.
      const float* m = matrices.data() + 16 * j;
      inverseBind = axes_.ToScene(core::affine{
          {{m[0], m[1], m[2]}, {m[4], m[5], m[6]}, {m[8], m[9], m[10]}}, {m[12], m[13], m[14]}});
      inverseBind.translation = inverseBind.translation * from_.how.scale;
    }
    const int joint = bound.joints[j];
    made.push_back({from_.bones[At(joint)], inverseBind * from_.poses.nodes[At(joint)].scale, {}});
  }
  return made;
}

// The vertices at rest are the primitive's points as the first joint carries them in the rest
// pose: then one rigid transform for each joint leads from its offsets to them, whether or not
// the skin is bound in the rest pose.
ownednode<cskin> surfacemaker::MakeSkin(int index, const primitive& part) {
  const bool skinned = IsSkinned(from_.doc.nodes[At(index)], part);
  const geometry from = Read(index, part, skinned);
  std::vector<binding> joints = BindingsOf(index, skinned);
  const int first = skinned ? from_.doc.skins[At(from_.doc.nodes[At(index)].skin)].joints.front()
                            : from_.nodes.nodes[At(index)].carrier;
  core::affine toRest = joints.front().offset * from_.poses.nodes[At(first)].rest;
  core::affine fromRest = toRest;
  if (!core::InvertInPlace(fromRest)) {
    toRest = {};
    fromRest = {};
  }
  for (binding& joint : joints) {
    joint.normal = core::ForNormals(fromRest * joint.offset);
  }
  ownednode<cmesh> mesh = Owned(CreateNewMesh());
  Fill(*mesh, from, part, toRest, (core::Volume(toRest) < 0.0) != IsMirrored(first));
  AddTargets(*mesh, from, index, toRest);
  ownednode<cskin> skin = Owned(CreateNewSkin());
  skin->Init(mesh.get());
  SetWeights(*skin, from, joints, part);
  if (skin->Skin().mesh.morph != nullptr) {
    for (const binding& joint : joints) {
      skin->Skin().displacements.push_back({joint.bone, fromRest * joint.offset});
    }
  }
  return skin;
}

void surfacemaker::SetWeights(cskin& skin, const geometry& from, const std::vector<binding>& joints,
                              const primitive& part) {
  core::skinstate& state = skin.Skin();
  state.weights.reserve(from.count);
  const auto add = [&](std::size_t vertex, const core::vec3& position, std::size_t joint,
                       float weight) {
    const binding& to = joints[joint];
    cskinweight& made = state.weights.emplace_back();
    made.weight = weight;
    made.bone = to.bone;
    made.offset = core::ToPoint(TransformVector(position, to.offset) + to.offset.translation);
    made.normal = core::ToPoint(
        core::Unit(TransformVector(core::ToVec(state.mesh.normals[vertex]), to.normal)));
    if (!IsFinite(made.offset)) {
      throw badfile(part.place + ": POSITION is out of range at vertex " + std::to_string(vertex));
    }
  };
  for (std::size_t v = 0; v < from.count; ++v) {
    core::skinstretch& stretch = state.stretches[v];
    stretch.first = state.weights.size();
    const core::vec3 position = Position(from, v);
    if (from.joints.empty()) {
      add(v, position, 0, 1.0F);
    }
    for (std::size_t set = 0; set < from.joints.size(); ++set) {
      for (std::size_t c = 4 * v; c < 4 * v + 4; ++c) {
        if (from.weights[set][c] == 0.0F) {
          continue;
        }
        if (from.joints[set][c] >= joints.size()) {
          throw badfile(part.place + ": vertex " + std::to_string(v) + " is on joint " +
                        std::to_string(from.joints[set][c]) + " of " +
                        std::to_string(joints.size()));
        }
        add(v, position, from.joints[set][c], from.weights[set][c]);
      }
    }
    stretch.count = static_cast<std::uint32_t>(state.weights.size() - stretch.first);
    stretch.capacity = stretch.count;
    numLoose += stretch.count == 0 ? 1 : 0;
  }
}

}  // namespace gltf
