#include "command/skeleton/rig.h"

#include <optional>
#include <stdexcept>
#include <vector>

#include "command/failure.h"
#include "command/skeleton/bonemap.h"
#include "command/skeleton/hanging.h"
#include "command/skeleton/names.h"
#include "command/wording.h"
#include "core/state.h"

namespace command {

namespace {

void LeaveOutBones(console& out, const std::string& path, const bonechoice& choice,
                   core::scene& scene) {
  if (!choice.Any()) {
    return;
  }
  const chosenbones chosen = ChooseBones(scene, choice);
  for (const std::string& pattern : chosen.unmatched) {
    out.Warning(path, "no bone of the scene matches " + pattern);
  }
  if (!chosen.leftOut.empty()) {
    out.Note(path, Counted(std::ssize(chosen.leftOut), "bone") +
                       " left out: " + JoinedFew(chosen.leftOut));
  }
}

const cnode* BoneNamed(const core::scene& scene, const std::string& name) {
  for (const cnode* node : scene.Nodes()) {
    if (node->State().type == kNodeBone && node->State().name == name && !IsTagName(name)) {
      return node;
    }
  }
  return nullptr;
}

[[noreturn]] void FailAtTorso(const std::string& path, const std::string& wanted,
                              const core::scene& scene) {
  std::vector<std::string> names;
  for (const cnode* node : scene.Nodes()) {
    if (node->State().type == kNodeBone && !IsTagName(node->State().name)) {
      names.push_back(node->State().name);
    }
  }
  throw failure(path,
                "the model has no bone " + wanted + " for --torso" + NearOrAll(wanted, names));
}

}  // namespace

preparedrig PrepareRig(console& out, const std::string& path, bool animated,
                       const rigoptions& options, core::scene& scene) {
  const bonemap names = options.boneMap.empty() ? bonemap() : bonemap(options.boneMap);
  preparedrig made;
  try {
    LeaveOutBones(out, path, options.bones, scene);
  } catch (const std::runtime_error& refused) {
    throw failure(path, refused.what());
  }
  // Its name is that in the scene or that in the game.
  const bool wanted = !options.torso.empty();
  made.torso = wanted ? BoneNamed(scene, options.torso) : nullptr;
  names.Rename(path, scene, renaming::ToGame);
  if (wanted && made.torso == nullptr) {
    made.torso = BoneNamed(scene, options.torso);
    if (made.torso == nullptr) {
      FailAtTorso(path, options.torso, scene);
    }
  }
  made.root = HangOnRootBone(scene);
  if (animated && options.torso.empty() && made.root.name.empty() && !HasStandardBone(scene)) {
    out.Warning(path,
                "no bone has a name of the games' skeleton, so none follows the torso; "
                "missing are " +
                    std::string(kStandardBones) +
                    "; --torso BONE or --bone-map FILE says which are what");
  }
  return made;
}

std::int32_t BoneNumber(core::scene& scene, filekind kind, const cnode& bone) {
  std::int32_t number = 0;
  for (cnode* node : InHierarchyOrder(scene)) {
    if (node == &bone) {
      break;
    }
    number += IsListedBone(*node, kind) ? 1 : 0;
  }
  return number;
}

void TellRootBone(console& out, const std::string& path, const rootbone& made) {
  if (made.name.empty()) {
    return;
  }
  out.Note(path, "the scene has no bones, so its surfaces and tags hang from one root bone, " +
                     made.name);
  if (!made.moving.empty()) {
    out.Warning(path, "surfaces on the root bone stay where they are at frame 0, and these move: " +
                          JoinedFew(made.moving));
  }
}

void TellNames(console& out, const std::string& path, filekind kind, core::scene& scene) {
  if (const auto tags = NumberedTags(scene, kind); !tags.empty()) {
    out.Warning(path,
                "a number behind a tag's name is what a second tag of that name gets, and "
                "the games know the name without it: " +
                    JoinedFew(tags));
  }
  if (const auto cut = TellCutNamesApart(scene, kind); !cut.empty()) {
    out.Note(path, "names that are the same in the 63 bytes that a file keeps get a number: " +
                       JoinedFew(cut));
  }
}

}  // namespace command
