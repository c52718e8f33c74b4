#include "gltf/read/readscene.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <filesystem>
#include <limits>
#include <new>
#include <numbers>
#include <stdexcept>
#include <unordered_map>
#include <unordered_set>

#include "core/state.h"
#include "core/utf8path.h"
#include "gltf/read/badfile.h"
#include "gltf/read/compressed/decompress.h"
#include "gltf/read/document.h"
#include "gltf/read/materials.h"
#include "gltf/read/morphs.h"
#include "gltf/read/ownednode.h"
#include "gltf/read/plan.h"
#include "gltf/read/poses.h"
#include "gltf/read/resources.h"
#include "gltf/read/sampling.h"
#include "gltf/read/surfaces.h"
#include "gltf/read/warnings.h"
#include "plugin/host/scene.h"

namespace gltf {

namespace {

// A rotation whose angles as the games count them lie, where they are nearly whole steps, a little
// beyond these, so that a format that cuts them finds the step: single precision moves an angle by
// some 0.003 steps over the length of what it is read from.
cquat BehindSteps(const cquat& rotation) {
  constexpr float kStep = 360.0F / 65536.0F;
  cpoint3 angles = QuatToEuler(rotation);
  const float level = std::cos(angles.x * std::numbers::pi_v<float> / 180.0F);
  bool changed = false;
  for (float* angle : {&angles.x, &angles.y, &angles.z}) {
    const float near = angle == &angles.x ? 0.02F : std::min(0.02F / std::max(level, 0.05F), 0.4F);
    const float steps = *angle / kStep;
    const float whole = std::round(steps);
    if (whole != 0.0F && std::abs(steps - whole) <= near) {
      *angle = (whole + std::copysign(near, whole)) * kStep;
      changed = true;
    }
  }
  return changed ? EulerToQuat(angles) : rotation;
}

// Puts the nodes of a document into a scene, in its order.
class nodebuilder {
 public:
  nodebuilder(const document& doc, const plan& nodes, poselist& poses,
              const std::vector<std::string>& names, const options& how, core::scene& scene)
      : doc_(doc),
        keepStretches_(how.keepChangingScale),
        grid_(static_cast<float>(how.grid)),
        nodes_(nodes),
        poses_(poses),
        names_(names),
        scene_(scene),
        taken_(names.begin(), names.end()),
        frames_(doc.nodes.size()) {
    // Weights name bones that may stand behind their meshes.
    bones_.resize(doc.nodes.size());
    waiting_.resize(doc.nodes.size());
    for (const int index : nodes.order) {
      if (nodes.nodes[At(index)].bone) {
        waiting_[At(index)] = Owned(CreateNewBone());
        bones_[At(index)] = waiting_[At(index)].get();
      }
    }
  }

  const std::vector<cnode*>& Bones() const { return bones_; }

  void Add(int index, surfacemaker& surfaces) {
    const node& from = doc_.nodes[At(index)];
    const nodeplan& plan = nodes_.nodes[At(index)];
    std::vector<const primitive*> parts;
    if (from.mesh >= 0) {
      for (const primitive& part : doc_.meshes[At(from.mesh)].primitives) {
        if (HasTriangles(doc_, part)) {
          parts.push_back(&part);
        }
      }
    }
    const bool stands = plan.carrier < 0 &&
                        std::any_of(parts.begin(), parts.end(),
                                    [&](const primitive* part) { return !IsSkinned(from, *part); });
    if (plan.bone) {
      Place(std::move(waiting_[At(index)]), index, names_[At(index)]);
    } else if (!stands && (parts.empty() || !from.children.empty())) {
      Place(Owned(new core::cdummy), index, names_[At(index)]);
    }
    int number = 0;
    for (const primitive* part : parts) {
      const std::string name = SurfaceName(index, number++);
      if (plan.carrier >= 0 || IsSkinned(from, *part)) {
        Hand(surfaces.MakeSkin(index, *part), name);
      } else {
        Place(surfaces.MakeMesh(index, *part), index, name);
      }
    }
  }

 private:
  // A further primitive has the node's name with a number that makes it a new one.
  std::string SurfaceName(int index, int number) {
    const std::string& name = names_[At(index)];
    if (number == 0) {
      return name;
    }
    int& next = numbers_[name];
    next = std::max(next, number);
    std::string numbered;
    do {
      numbered = name + "_" + std::to_string(next++);
    } while (!taken_.insert(numbered).second);
    return numbered;
  }

  cnode* Hand(ownednode<cnode> node, const std::string& name) {
    cnode* const added = node.release();
    scene_.Add(added);
    added->SetName(name.c_str());
    return added;
  }

  // Adds a node that has the pose of the document's node. The first one carries its children.
  void Place(ownednode<cnode> node, int index, const std::string& name) {
    cnode* const added = Hand(std::move(node), name);
    if (keepStretches_) {
      core::SetStretches(*added, poses_.nodes[At(index)].bent);
    }
    std::vector<ckey> keys;
    cnode*& frame = frames_[At(index)];
    if (frame == nullptr) {
      frame = added;
      keys = std::move(poses_.nodes[At(index)].keys);
    } else {
      keys = frame->State().track->State().keys;
    }
    const int parent = doc_.nodes[At(index)].parent;
    if (parent < 0 && grid_ > 0.0F) {
      for (ckey& key : keys) {
        key.pos = core::OnGrid(key.pos, grid_);
        key.rot = BehindSteps(key.rot);
      }
    }
    core::SetKeys(*added, std::move(keys));
    if (parent >= 0) {
      frames_[At(parent)]->AttachChild(added, 1);
    }
  }

  const document& doc_;
  const bool keepStretches_;
  const float grid_;
  const plan& nodes_;
  poselist& poses_;
  const std::vector<std::string>& names_;
  core::scene& scene_;
  std::unordered_set<std::string> taken_;
  std::unordered_map<std::string, int> numbers_;  // that a name's next primitive may have
  std::vector<cnode*> frames_;  // what carries the children of a node of the document
  std::vector<cnode*> bones_;
  std::vector<ownednode<cnode>> waiting_;
};

void Build(const document& doc, const options& how, const std::string& path, core::scene& scene,
           std::vector<std::string>& warnings) {
  valuereader values(doc);
  const plan nodes = MakePlan(doc);
  const timeline line = LayOut(doc, how, values);
  poselist poses = MakePoses(doc, nodes, line, how, values);
  const std::vector<std::string> names = NodeNames(doc);
  const std::vector<cmaterial*> materials =
      AddMaterials(doc, {path, how.allowOutside}, scene, warnings);
  const std::vector<nodemorph> morphs = MakeMorphs(doc, nodes, line, values);
  nodebuilder builder(doc, nodes, poses, names, how, scene);
  surfacemaker surfaces({doc, nodes, poses, morphs, builder.Bones(), materials, how}, values);
  for (const int index : nodes.order) {
    builder.Add(index, surfaces);
  }
  scene.clips = line.clips;
  scene.animStart = 0;
  scene.animEnd = std::max(line.frames - 1, 0);
  scene.ticksPerFrame = static_cast<int>(std::lround(1000.0 / how.fps));
  scene.notes = doc.notes;
  scene.frameBounds = doc.frameBounds;
  const std::vector<std::string> left =
      LeftOut(doc, nodes, poses, names, {surfaces.numLoose, surfaces.unmorphed});
  warnings.insert(warnings.end(), left.begin(), left.end());
}

}  // namespace

bool ReadLoaded(loadedfile file, const std::string& path, const options& how, core::scene& scene,
                report& told) {
  try {
    document doc = ParseDocument(std::move(file));
    LoadBuffers(doc, {path, how.allowOutside});
    Decompress(doc);
    Build(doc, how, path, scene, told.warnings);
    return true;
  } catch (const badfile& fault) {
    told.fault = fault.what();
  } catch (const std::bad_alloc&) {
    told.fault = "there is not enough memory for it";
    told.noMemory = true;
  } catch (const std::length_error&) {
    told.fault = "there is not enough memory for it";
    told.noMemory = true;
  }
  return false;
}

bool ReadScene(const std::string& path, const options& how, core::scene& scene, report& told) {
  loadedfile file;
  errno = 0;
  if (!LoadWholeFile(path.c_str(), file)) {
    std::error_code error;
    const bool large = std::filesystem::file_size(core::PathOf(path), error) >
                           std::numeric_limits<std::int32_t>::max() &&
                       !error;
    told.noMemory = errno == ENOMEM;
    told.fault = told.noMemory ? "there is not enough memory for it"
                 : large       ? "is larger than 2 GiB, the most that is read"
                               : "cannot be read, or is empty";
    return false;
  }
  return ReadLoaded(std::move(file), path, how, scene, told);
}

}  // namespace gltf
