#include "command/skeleton/names.h"

#include <algorithm>
#include <unordered_set>

#include "command/surfaces.h"
#include "core/state.h"
#include "skeletal/standardbones.h"

namespace command {

namespace {

bool IsTagOf(const cnode& node, filekind kind) {
  const tagsource tags = FormatOf(kind).tags;
  return tags != tagsource::None && IsTagName(node.State().name) &&
         (tags == tagsource::Nodes || node.State().type == kNodeBone);
}

void TellApart(const std::vector<cnode*>& nodes, std::vector<std::string>& changed) {
  std::unordered_set<std::string> taken;
  for (const cnode* node : nodes) {
    if (node->State().name.size() <= kKeptOfName) {
      taken.insert(node->State().name);
    }
  }
  for (cnode* node : nodes) {
    const std::string whole = node->State().name;
    if (whole.size() <= kKeptOfName) {
      continue;
    }
    std::string kept = StartOf(whole, kKeptOfName);
    for (int number = 2; !taken.insert(kept).second; ++number) {
      const std::string behind = "~" + std::to_string(number);
      kept = StartOf(whole, kKeptOfName - behind.size()) + behind;
    }
    node->SetName(kept.c_str());
    if (!whole.starts_with(kept)) {
      changed.push_back(std::move(kept));
    }
  }
}

}  // namespace

std::string StartOf(const std::string& name, std::size_t length) {
  while (length > 0 && length < name.size() &&
         (static_cast<unsigned char>(name[length]) & 0xC0U) == 0x80U) {
    --length;
  }
  return name.substr(0, length);
}

std::vector<std::string> TellCutNamesApart(core::scene& scene, filekind kind) {
  std::vector<cnode*> bones;
  for (cnode* node : scene.Nodes()) {
    if (IsSkeletal(kind) ? node->GetType() == kNodeBone : IsTagOf(*node, kind)) {
      bones.push_back(node);
    }
  }
  std::vector<cnode*> surfaces = SurfacesOf(scene);
  if (IsSkeletal(kind)) {
    std::erase_if(surfaces, [](cnode* node) { return node->GetType() != kNodeSkin; });
  }
  std::vector<std::string> changed;
  TellApart(bones, changed);
  TellApart(surfaces, changed);
  return changed;
}

std::vector<std::string> NumberedTags(const core::scene& scene, filekind kind) {
  std::vector<std::string> found;
  for (const cnode* node : scene.Nodes()) {
    const std::string& name = node->State().name;
    if (name.size() > 4 && name[name.size() - 4] == '.' && IsTagOf(*node, kind) &&
        std::all_of(name.end() - 3, name.end(),
                    [](char letter) { return letter >= '0' && letter <= '9'; })) {
      found.push_back(name);
    }
  }
  return found;
}

bool HasStandardBone(const core::scene& scene) {
  return std::ranges::any_of(scene.Nodes(), [](const cnode* node) {
    return node->State().type == kNodeBone && !IsTagName(node->State().name) &&
           StandardTorsoWeight(node->State().name).has_value();
  });
}

}  // namespace command
