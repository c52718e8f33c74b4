#include "command/skeleton/hanging.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "core/pose.h"
#include "core/state.h"
#include "core/track.h"

namespace command {

namespace {

// How far the axes of a bone may be from those of a rotation.
constexpr double kRigid = 1e-3;

}  // namespace

framespan KeyedFrames(const core::scene& scene) {
  std::optional<framespan> span;
  for (const cnode* node : scene.Nodes()) {
    const std::vector<ckey>& keys = node->State().track->State().keys;
    if (!keys.empty()) {
      span = span ? framespan{std::min(span->first, keys.front().frame),
                              std::max(span->last, keys.back().frame)}
                  : framespan{keys.front().frame, keys.back().frame};
    }
  }
  return span.value_or(framespan{});
}

std::vector<cnode*> InHierarchyOrder(core::scene& scene) {
  culongarray order;
  core::scene* const before = core::scene::CurrentOrNull();
  core::scene::MakeCurrent(&scene);
  Interface::GetNodesHierarchy(order);
  core::scene::MakeCurrent(before);
  std::vector<cnode*> nodes;
  nodes.reserve(scene.Nodes().size());
  for (int i = 0; i < order.Count(); ++i) {
    nodes.push_back(scene.Nodes()[order[i]]);
  }
  return nodes;
}

bool IsListedBone(const cnode& node, filekind kind) {
  return node.State().type == kNodeBone &&
         (FormatOf(kind).tags == tagsource::Bones || !IsTagName(node.State().name));
}

ckey KeyUnder(const cnode& parent, const cnode& node, int frame, bool& rigid) {
  core::affine local = core::WorldAtFrame(parent, frame);
  rigid = rigid && core::InvertInPlace(local);
  local = core::WorldAtFrame(node, frame) * local;
  const core::affine turn = core::RotationOf(local);
  for (int row = 0; row < 3; ++row) {
    const core::vec3 off = local.row[row] - turn.row[row];
    rigid = rigid && core::Dot(off, off) < kRigid * kRigid;
  }
  ckey key;
  key.frame = frame;
  key.pos = core::ToPoint(local.translation);
  key.rot = core::ToQuat(turn);
  key.scale = MakePt3(1.0F, 1.0F, 1.0F);
  return key;
}

float DistanceFromParent(const cnode& bone, int frame) {
  return core::KeyAtFrame(bone.State().track->State(), frame).pos.Length();
}

void Hang(const std::vector<hanging>& nodes, const framespan& span) {
  if (nodes.empty()) {
    return;
  }
  // Frame by frame, since a scene does not remember the poses of all frames.
  std::vector<std::vector<ckey>> keys(nodes.size());
  for (std::size_t i = 0; i < span.Count(); ++i) {
    for (std::size_t n = 0; n < nodes.size(); ++n) {
      bool rigid = true;
      keys[n].push_back(
          KeyUnder(*nodes[n].parent, *nodes[n].node, span.first + static_cast<int>(i), rigid));
    }
  }
  for (std::size_t n = 0; n < nodes.size(); ++n) {
    const auto same = [&first = keys[n].front()](const ckey& key) {
      return key.pos.x == first.pos.x && key.pos.y == first.pos.y && key.pos.z == first.pos.z &&
             key.rot.x == first.rot.x && key.rot.y == first.rot.y && key.rot.z == first.rot.z &&
             key.rot.w == first.rot.w;
    };
    if (std::ranges::all_of(keys[n], same)) {
      keys[n].resize(1);
    }
    core::SetKeys(*nodes[n].node, std::move(keys[n]));
    nodes[n].parent->AttachChild(nodes[n].node, 1);
  }
}

}  // namespace command
