#include "command/skeleton/rootbone.h"

#include <algorithm>
#include <new>
#include <unordered_set>

#include "command/files/paths.h"
#include "command/skeleton/hanging.h"
#include "core/pose.h"
#include "core/state.h"

namespace command {

namespace {

// A change of place that is worth a word, in units, and one of a rotation's rows.
constexpr double kMovedUnits = 0.05;
constexpr double kTurnedRows = 1e-3;

bool IsTag(cnode& node) { return IsTagName(node.GetName()); }

bool Moves(const cnode& node, const framespan& span) {
  bool keyed = false;
  for (const cnode* at = &node; at != nullptr && !keyed; at = at->State().parent) {
    keyed = at->State().track->State().keys.size() > 1;
  }
  if (!keyed) {
    return false;
  }
  const core::affine still = core::WorldAtFrame(node, 0);
  const auto differs = [](const core::vec3& a, const core::vec3& b, double worth) {
    return core::Dot(a - b, a - b) > worth * worth;
  };
  for (std::size_t i = 0; i < span.Count(); ++i) {
    const core::affine now = core::WorldAtFrame(node, span.first + static_cast<int>(i));
    if (differs(now.translation, still.translation, kMovedUnits) ||
        differs(now.row[0], still.row[0], kTurnedRows) ||
        differs(now.row[1], still.row[1], kTurnedRows) ||
        differs(now.row[2], still.row[2], kTurnedRows)) {
      return true;
    }
  }
  return false;
}

cbone& AddBone(core::scene& scene) {
  std::unordered_set<std::string> taken;
  for (cnode* node : scene.Nodes()) {
    taken.insert(node->GetName());
  }
  std::string name = "root";
  for (int number = 1; taken.contains(name); ++number) {
    name = "root" + std::to_string(number);
  }
  cbone* const bone = CreateNewBone();
  if (bone == nullptr) {
    throw std::bad_alloc();
  }
  scene.Add(bone);
  bone->SetName(name.c_str());
  return *bone;
}

// The bone stands at the scene's origin, so its space is the world.
void MakeSkin(core::scene& scene, cmesh& mesh, cbone& bone) {
  const core::affine place = core::WorldAtFrame(mesh, 0);
  cskin* const skin = CreateNewSkin();
  if (skin == nullptr) {
    throw std::bad_alloc();
  }
  skin->Init(&mesh);
  core::skinstate& state = skin->Skin();
  const std::size_t count = state.mesh.verts.size();
  state.weights.resize(count);
  for (std::size_t v = 0; v < count; ++v) {
    state.stretches[v] = {v, 1, 1};
    cskinweight& weight = state.weights[v];
    weight.weight = 1.0F;
    weight.bone = &bone;
    weight.offset = core::ToPoint(core::TransformVector(core::ToVec(state.mesh.verts[v]), place) +
                                  place.translation);
    weight.normal = core::ToPoint(core::TransformVector(core::ToVec(state.mesh.normals[v]), place));
  }
  scene.Replace(&mesh, skin);
}

}  // namespace

rootbone HangOnRootBone(core::scene& scene) {
  rootbone made;
  std::vector<cmesh*> meshes;
  std::vector<cnode*> tags;
  for (cnode* node : scene.Nodes()) {
    if (node->GetType() == kNodeMesh) {
      meshes.push_back(static_cast<cmesh*>(node));
    } else if (node->GetType() == kNodeBone) {
      if (!IsTag(*node)) {
        return made;
      }
      tags.push_back(node);
    }
  }
  if (meshes.empty() && tags.empty()) {
    return made;
  }
  const framespan span = KeyedFrames(scene);
  cbone& bone = AddBone(scene);
  made.name = bone.GetName();
  std::vector<hanging> hung;
  for (cnode* tag : tags) {
    if (tag->GetParent() == nullptr || tag->GetParent()->GetType() != kNodeBone) {
      hung.push_back({tag, &bone});
    }
  }
  Hang(hung, span);
  for (const cmesh* mesh : meshes) {
    if (Moves(*mesh, span)) {
      made.moving.push_back(mesh->State().name);
    }
  }
  for (cmesh* mesh : meshes) {
    MakeSkin(scene, *mesh, bone);
  }
  return made;
}

}  // namespace command
