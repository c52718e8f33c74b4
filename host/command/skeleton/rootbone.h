#pragma once

#include <string>
#include <vector>

#include "core/scene.h"

namespace command {

// What became of a scene without a skeleton.
struct rootbone {
  std::string name;                 // of the bone; empty: the scene stays as it was
  std::vector<std::string> moving;  // nodes of meshes that stand still from now on
};

// Gives a scene whose only bones, if any, are tags one bone at its origin: every mesh becomes a
// skin on it, with one weight for each vertex, in the place that the mesh has at frame 0, and the
// tags hang on it and move as before. A scene that has neither meshes nor tags is left untouched.
rootbone HangOnRootBone(core::scene& scene);

}  // namespace command
