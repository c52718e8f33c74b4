#include "command/run/attach.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <set>
#include <vector>

#include "command/failure.h"
#include "command/finish/openmodel.h"
#include "command/run/transfer.h"
#include "command/wording.h"
#include "core/state.h"
#include "core/timeline.h"
#include "core/utf8path.h"
#include "mds/mdsfile.h"

namespace command {

namespace {

cnode* NodeNamed(const core::scene& scene, const std::string& name) {
  const auto found = std::ranges::find_if(
      scene.Nodes(), [&](const cnode* node) { return node->State().name == name; });
  return found == scene.Nodes().end() ? nullptr : *found;
}

// Clips and range as the notes of an import tell them, before other notes follow.
void SettleTimeline(core::scene& scene, filekind kind) {
  if (IsSkeletal(kind)) {
    scene.clips = core::NamedClips(scene);
    scene.animStart = 0;
    scene.animEnd = core::LastKeyFrame(scene);
  }
}

bool HasWeights(const cnode& node) {
  return node.State().type == kNodeSkin && !static_cast<const cskin&>(node).Skin().weights.empty();
}

}  // namespace

attachment AttachmentOf(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0 || equals + 1 == text.size()) {
    throw CLI::ValidationError("--attach",
                               text + " is not a tag and a model such as tag_head=head.mdc");
  }
  attachment made{text.substr(0, equals), text.substr(equals + 1), {}};
  const std::size_t colon = made.model.rfind(':');
  if (colon != std::string::npos && colon + 1 < made.model.size()) {
    int frame = 0;
    const char* const end = made.model.data() + made.model.size();
    const auto [behind, error] = std::from_chars(made.model.data() + colon + 1, end, frame);
    if (error == std::errc() && behind == end && frame >= 0) {
      made.frame = frame;
      made.model.resize(colon);
    }
  }
  return made;
}

assembly::assembly(console& out, modelhost& host, const std::string& path, core::scene& scene)
    : out_(out), host_(host), scene_(scene) {
  SettleTimeline(scene, KindOf(path));
  AddTags(path, scene);
}

// Nodes that are tags by their name, and bones that an mds lists as tags under other names.
void assembly::AddTags(const std::string& path, const core::scene& from) {
  for (cnode* node : from.Nodes()) {
    if (IsTagName(node->GetName())) {
      tags_.emplace(node->GetName(), node);
    }
  }
  cmdsfile file;
  if (KindOf(path) != filekind::Mds || !LoadAgain(path, path, file)) {
    return;
  }
  for (std::int32_t t = 0; t < file.numTags; ++t) {
    const std::int32_t bone = file.tags[t].boneIndex;
    if (bone < 0 || bone >= file.numBones) {
      continue;
    }
    if (cnode* const node = NodeNamed(from, NameText(file.bones[bone].name).data())) {
      tags_.emplace(NameText(file.tags[t].name).data(), node);
    }
  }
}

void assembly::MakeNamesUnique(core::scene& part, const std::string& model) const {
  const std::string behind = "_" + core::PathOf(model).stem().string();
  std::set<std::string> taken;
  for (const cnode* node : scene_.Nodes()) {
    taken.insert(node->State().name);
  }
  for (const cmaterial* material : scene_.Materials()) {
    taken.insert(material->State().name.data());
  }
  const auto unique = [&](const std::string& name) {
    std::string made = name;
    for (int number = 1; !taken.insert(made).second; ++number) {
      made = name;
      made.append(behind);
      if (number > 1) {
        made.append("_").append(std::to_string(number));
      }
    }
    return made;
  };
  for (cnode* node : part.Nodes()) {
    node->SetName(unique(node->State().name).c_str());
  }
  for (cmaterial* material : part.Materials()) {
    // A number behind the path of a shader is no part of it.
    std::string name = material->GetName();
    for (int number = 1; !taken.insert(name).second; ++number) {
      name = material->GetName();
      name.append(".").append(std::to_string(number));
    }
    material->SetName(name.c_str());
  }
}

void assembly::HangOn(cnode& tag, core::scene& part) {
  const std::vector<cnode*> nodes = part.Nodes();
  scene_.Adopt(part);
  for (cnode* node : nodes) {
    // What joints move follows them.
    if (node->GetParent() == nullptr && !HasWeights(*node)) {
      tag.AttachChild(node, 1);
    }
  }
}

void assembly::Attach(const attachment& what, const importchoices& choices) {
  const auto tag = tags_.find(what.tag);
  if (tag == tags_.end()) {
    std::vector<std::string> names;
    for (const auto& [name, node] : tags_) {
      names.push_back(name);
    }
    throw failure(what.model, "cannot be attached: there is no tag " + what.tag +
                                  (names.empty() ? ", and the model has none"
                                                 : "; there are " + Joined(names)));
  }
  core::scene part;
  if (ImportModel(out_, host_, what.model, choices, part) != kExitDone) {
    throw failure(what.model, "cannot be attached");
  }
  SettleTimeline(part, KindOf(what.model));
  MakeNamesUnique(part, what.model);
  AddTags(what.model, part);
  if (scene_.clips.empty()) {
    scene_.clips = part.clips;
  }
  scene_.animEnd = std::max(scene_.animEnd, part.animEnd);
  scene_.notes += part.notes;
  scene_.frameBounds.clear();  // of the first model alone
  HangOn(*tag->second, part);
}

}  // namespace command
