#include "gltf/write/layout.h"

#include <algorithm>

#include "gltf/write/utf8.h"

namespace gltf {

namespace {

int ParentOf(const core::scene& scene, const cnode& node) {
  const cnode* parent = node.State().parent;
  return parent != nullptr && parent->State().owner == &scene ? parent->State().index : -1;
}

}  // namespace

layout::layout(const core::scene& scene, const skinning& skins) {
  const std::size_t count = scene.Nodes().size();
  std::vector<bool> placed(count, false);
  for (const skinning::joint& joint : skins.Joints()) {
    placed[joint.node] = placed[joint.node] || joint.ownPlace;
  }
  nodes.resize(count);
  std::vector<int> places(count, -1);  // of each node, the one that its children hang on
  for (std::size_t i = 0; i < count; ++i) {
    const core::nodestate& state = scene.Nodes()[i]->State();
    nodes[i].name = ToUtf8(state.name);
    places[i] = static_cast<int>(i);
    if (!skins.IsSkinned(i)) {
      nodes[i].track = &state.track->State();
    } else if (placed[i] || !state.children.empty()) {
      places[i] = static_cast<int>(nodes.size());
      nodes.push_back({nodes[i].name + " place", &state.track->State(), -1, {}});
    }
  }
  for (std::size_t i = 0; i < count; ++i) {
    const int parent = ParentOf(scene, *scene.Nodes()[i]);
    const auto own = static_cast<std::size_t>(places[i]);
    if (parent >= 0 && !(skins.IsSkinned(i) && own == i)) {
      nodes[own].parent = places[static_cast<std::size_t>(parent)];
    }
  }
  for (const skinning::joint& joint : skins.Joints()) {
    joints.push_back(joint.ownPlace ? places[joint.node] : static_cast<int>(joint.node));
  }
  JoinJoints();
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const int parent = nodes[i].parent;
    (parent < 0 ? roots : nodes[static_cast<std::size_t>(parent)].children)
        .push_back(static_cast<int>(i));
  }
}

void layout::JoinJoints() {
  std::vector<int> tops;
  std::vector<bool> seen(nodes.size(), false);
  for (const int joint : joints) {
    auto at = static_cast<std::size_t>(joint);
    while (!seen[at]) {
      seen[at] = true;
      if (nodes[at].parent < 0) {
        tops.push_back(static_cast<int>(at));
        break;
      }
      at = static_cast<std::size_t>(nodes[at].parent);
    }
  }
  if (tops.size() < 2) {
    return;
  }
  for (const int top : tops) {
    nodes[static_cast<std::size_t>(top)].parent = static_cast<int>(nodes.size());
  }
  nodes.push_back({"skeleton", nullptr, -1, {}});
}

}  // namespace gltf
