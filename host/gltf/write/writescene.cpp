#include <algorithm>
#include <cmath>
#include <new>
#include <set>
#include <span>

#include "core/state.h"
#include "core/utf8path.h"
#include "gltf/convention.h"
#include "gltf/gltf.h"
#include "gltf/write/animations.h"
#include "gltf/write/fault.h"
#include "gltf/write/layout.h"
#include "gltf/write/localpose.h"
#include "gltf/write/materials.h"
#include "gltf/write/meshes.h"
#include "gltf/write/scenefile.h"
#include "gltf/write/skinning.h"
#include "gltf/write/utf8.h"
#include "sampling/storednames.h"

namespace gltf {

namespace {

// One skin for all skinned meshes: they have the joints and the rest pose in common.
void WriteSkin(const skinning& skins, const layout& plan, const std::string& name,
               const options& how, scenefile& file) {
  const axismap axes(how.front);
  std::vector<float> matrices;
  matrices.reserve(16 * skins.Binds().size());
  for (core::affine inverse : skins.Binds()) {
    core::InvertInPlace(inverse);
    const core::affine turned = axes.ToFile(inverse);
    for (const core::vec3& row : turned.row) {
      const cpoint3 p = core::ToPoint(row);
      matrices.insert(matrices.end(), {p.x, p.y, p.z, 0.0F});
    }
    const cpoint3 translation = core::ToPoint(turned.translation * (1.0 / how.scale));
    matrices.insert(matrices.end(), {translation.x, translation.y, translation.z, 1.0F});
  }
  const int view = file.AddView(scenefile::use::Nothing);
  file.Add("skins", {{"name", ToUtf8(name)},
                     {"inverseBindMatrices",
                      file.AddFloats(view, matrices, "MAT4", scenefile::bounds::None)},
                     {"joints", plan.joints}});
}

// Other programs make a skeleton of the nodes that skins list, and would leave out the bones that
// move no vertex: tags, and what has only bones. A skin of no mesh lists all of them, so that the
// meshes' own lists stay those of the bones that move them. Tags alone are no skeleton.
void WriteSkeleton(const core::scene& scene, const layout& plan, const std::string& name,
                   scenefile& file) {
  std::vector<int> bones;
  bool tagsAlone = plan.joints.empty();
  for (std::size_t i = 0; i < scene.Nodes().size(); ++i) {
    const core::nodestate& node = scene.Nodes()[i]->State();
    if (node.type == kNodeBone) {
      bones.push_back(static_cast<int>(i));
      tagsAlone = tagsAlone && IsTagName(node.name);
    }
  }
  const std::set<int> joints(plan.joints.begin(), plan.joints.end());
  if (!tagsAlone && !std::ranges::all_of(bones, [&](int bone) { return joints.contains(bone); })) {
    file.Add("skins", {{"name", ToUtf8(name)}, {"joints", bones}});
  }
}

void WriteNodes(const core::scene& scene, const skinning& skins, const layout& plan,
                const std::vector<int>& meshes, const options& how, scenefile& file) {
  const localpose none;
  for (std::size_t i = 0; i < plan.nodes.size(); ++i) {
    const filenode& node = plan.nodes[i];
    jsonwriter& entry = file.AddWritten("nodes");
    entry.StartObject();
    if (!node.name.empty()) {
      entry.Member("name", node.name);
    }
    if (node.track != nullptr) {
      const localpose rest = PoseAt(*node.track, scene.animStart, how, none, node.name);
      if (rest.translation != none.translation) {
        entry.Member("translation", std::span<const float>(rest.translation));
      }
      if (rest.rotation != none.rotation) {
        entry.Member("rotation", std::span<const float>(rest.rotation));
      }
      if (rest.scale != none.scale) {
        entry.Member("scale", std::span<const float>(rest.scale));
      }
    }
    if (!node.children.empty()) {
      entry.Member("children", std::span<const int>(node.children));
    }
    if (i < meshes.size()) {
      if (meshes[i] >= 0) {
        entry.Member("mesh", meshes[i]);
        if (skins.IsSkinned(i)) {
          entry.Member("skin", 0);
        }
      }
      if (scene.Nodes()[i]->GetType() == kNodeBone) {
        entry.Key("extras");
        entry.StartObject();
        entry.Member("bone", true);
        entry.EndObject();
      }
    }
    entry.EndObject();
  }
}

void Write(const core::scene& scene, const std::string& path, const options& how,
           files::replacement& into, report& told) {
  if (!(how.scale > 0.0) || !std::isfinite(how.scale) || !(how.fps > 0.0) ||
      !std::isfinite(how.fps)) {
    throw writefault("the scale and the frames a second must be above 0");
  }
  scenefile file(path);
  ordered_json root = ordered_json::object();
  const skinning skins(scene, told.warnings);
  const layout plan(scene, skins);
  if (!plan.roots.empty()) {
    root["nodes"] = plan.roots;
  }
  if (!scene.notes.empty()) {
    root["extras"]["notes"] = ToUtf8(scene.notes);
  }
  if (!scene.frameBounds.empty()) {
    root["extras"]["frame_bounds"] = scene.frameBounds;
  }
  file.SetScene(std::move(root));
  const auto materials = WriteMaterials(scene, file);
  const std::vector<int> meshes = WriteMeshes(scene, skins, materials, how, file, told.warnings);
  WriteNodes(scene, skins, plan, meshes, how, file);
  const std::string name = core::PathOf(path).stem().string();
  if (!skins.Joints().empty()) {
    WriteSkin(skins, plan, name, how, file);
  }
  WriteSkeleton(scene, plan, name, file);
  WriteAnimations(scene, skins, plan, meshes, how, file);
  file.Save(into);
  told.bind = skins.Residual();
}

std::string FileFault(const files::fault& fault) {
  return core::PathOf(fault.Path()).filename().string() + ": " + fault.what();
}

}  // namespace

bool WriteScene(const core::scene& scene, const std::string& path, const options& how,
                files::replacement& into, report& told) {
  told = {};
  try {
    Write(scene, path, how, into, told);
    return true;
  } catch (const writefault& fault) {
    told.fault = fault.what();
  } catch (const files::fault& fault) {
    told.fault = FileFault(fault);
  } catch (const std::bad_alloc&) {
    told.fault = "there is not enough memory to write the scene";
    told.noMemory = true;
  }
  return false;
}

bool WriteScene(const core::scene& scene, const std::string& path, const options& how,
                report& told) {
  std::vector<std::string> warnings;
  files::replacement into([&](const std::string& file, const std::string& text) {
    warnings.push_back(file + " " + text);
  });
  if (!WriteScene(scene, path, how, into, told)) {
    return false;
  }
  try {
    into.Commit();
  } catch (const files::fault& fault) {
    told.fault = FileFault(fault);
  }
  told.warnings.insert(told.warnings.end(), warnings.begin(), warnings.end());
  return told.fault.empty();
}

}  // namespace gltf
