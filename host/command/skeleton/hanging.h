#pragma once

// Nodes that change their parent and stay where they are at every frame.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "command/files/paths.h"
#include "core/scene.h"

namespace command {

// Frames, both ends included.
struct framespan {
  int first = 0;
  int last = 0;

  std::size_t Count() const { return static_cast<std::size_t>(std::int64_t{last} - first) + 1; }
};

// Between the first and the last key; beyond them a scene stands still.
framespan KeyedFrames(const core::scene& scene);

// The scene's nodes, parents before their children, in the order in which exporters number them.
std::vector<cnode*> InHierarchyOrder(core::scene& scene);

// Whether the node is a bone in the list of a file of the kind: only an mds has tags there.
bool IsListedBone(const cnode& node, filekind kind);

// The node's key at the frame against a parent that it is to have. `rigid` becomes false where no
// key can say it, since the node has a scale against the parent, or that has none to invert.
ckey KeyUnder(const cnode& parent, const cnode& node, int frame, bool& rigid);

// The bone's distance from its parent at the frame, in the parent's space, which has the size of
// the scene: tracks that the command makes have no scale.
float DistanceFromParent(const cnode& bone, int frame);

struct hanging {
  cnode* node = nullptr;
  cnode* parent = nullptr;
};

// Hangs the nodes on the parents with a key for each frame of the span, or one key where nothing
// moves in it. What a scale against the parent does is lost.
void Hang(const std::vector<hanging>& nodes, const framespan& span);

}  // namespace command
