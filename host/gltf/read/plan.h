#pragma once

#include <vector>

#include "gltf/read/document.h"

namespace gltf {

// What becomes of each node of the document.
struct nodeplan {
  bool included = false;  // hangs in the default scene
  bool animated = false;  // by a clip
  bool bone = false;
  int carrier = -1;  // the bone at or above the node that carries meshes without a skin
};

struct plan {
  std::vector<nodeplan> nodes;
  // The included nodes in the order of the document, a parent always before its children.
  std::vector<int> order;
};

plan MakePlan(const document& doc);

// Whether the primitive has triangles and places for them.
bool HasTriangles(const document& doc, const primitive& part);
// Whether the node's skin moves the primitive.
bool IsSkinned(const node& owner, const primitive& part);

}  // namespace gltf
