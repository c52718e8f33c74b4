#pragma once

#include <string>
#include <vector>

#include "core/scene.h"
#include "core/state.h"
#include "gltf/write/skinning.h"

namespace gltf {

// A node of the file.
struct filenode {
  std::string name;
  const core::trackstate* track = nullptr;  // null: no transform of its own
  int parent = -1;
  std::vector<int> children;
};

// The nodes of a file: the scene's, at the same indices, and behind them what the file needs more.
//
// A skinned mesh stands at the top without a transform, since viewers ignore the one it has. A
// node "NAME place" has it instead where something hangs on it: children, or vertices without
// weights. The joints hang on one node "skeleton" where they would not hang together.
struct layout {
  layout(const core::scene& scene, const skinning& skins);

  std::vector<filenode> nodes;
  std::vector<int> roots;
  std::vector<int> joints;  // nodes of skins.Joints()

 private:
  void JoinJoints();
};

}  // namespace gltf
