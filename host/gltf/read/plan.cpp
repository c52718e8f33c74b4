#include "gltf/read/plan.h"
#include "sampling/storednames.h"

#include <algorithm>

namespace gltf {

namespace {

// Marks the tree below a node, the node included.
void Include(const document& doc, plan& made, int root) {
  std::vector<int> open{root};
  while (!open.empty()) {
    const int at = open.back();
    open.pop_back();
    if (!made.nodes[At(at)].included) {
      made.nodes[At(at)].included = true;
      const std::vector<int>& children = doc.nodes[At(at)].children;
      open.insert(open.end(), children.begin(), children.end());
    }
  }
}

int RootOf(const document& doc, int index) {
  while (doc.nodes[At(index)].parent >= 0) {
    index = doc.nodes[At(index)].parent;
  }
  return index;
}

// The default scene's nodes, and with them the skeletons that their skins hang on.
void IncludeNodes(const document& doc, plan& made) {
  for (const int root : doc.roots) {
    Include(doc, made, root);
  }
  std::vector<bool> seen(doc.skins.size());
  for (std::size_t i = 0; i < doc.nodes.size(); ++i) {
    const int skin = doc.nodes[i].skin;
    if (!made.nodes[i].included || skin < 0 || seen[At(skin)]) {
      continue;
    }
    seen[At(skin)] = true;
    for (const int joint : doc.skins[At(skin)].joints) {
      if (!made.nodes[At(joint)].included) {
        Include(doc, made, RootOf(doc, joint));
      }
    }
  }
}

std::vector<int> OrderOf(const document& doc, const plan& made) {
  std::vector<int> order;
  std::vector<bool> listed(doc.nodes.size());
  std::vector<int> chain;
  for (std::size_t i = 0; i < doc.nodes.size(); ++i) {
    if (!made.nodes[i].included) {
      continue;
    }
    for (int at = static_cast<int>(i); at >= 0 && !listed[At(at)]; at = doc.nodes[At(at)].parent) {
      chain.push_back(at);
    }
    for (; !chain.empty(); chain.pop_back()) {
      listed[At(chain.back())] = true;
      order.push_back(chain.back());
    }
  }
  return order;
}

bool IsTag(const node& from) {
  return from.mesh < 0 && !from.hasCamera && !from.hasLight && IsTagName(from.name);
}

bool HasRigidMesh(const document& doc, const node& from) {
  if (from.mesh < 0) {
    return false;
  }
  const std::vector<primitive>& parts = doc.meshes[At(from.mesh)].primitives;
  return std::any_of(parts.begin(), parts.end(), [&](const primitive& part) {
    return HasTriangles(doc, part) && !IsSkinned(from, part);
  });
}

// Joints, tags, and what its maker called a bone; what stands between two bones; and what moves
// between a bone and a mesh that hangs from it, which would stand still otherwise.
void FindBones(const document& doc, plan& made) {
  for (const skin& from : doc.skins) {
    for (const int joint : from.joints) {
      made.nodes[At(joint)].bone = true;
    }
  }
  std::vector<bool> below(doc.nodes.size());  // has a bone above it
  for (const int index : made.order) {
    const node& from = doc.nodes[At(index)];
    nodeplan& own = made.nodes[At(index)];
    own.bone = own.bone || from.isBone || IsTag(from);
    below[At(index)] =
        from.parent >= 0 && (below[At(from.parent)] || made.nodes[At(from.parent)].bone);
  }
  std::vector<bool> hasMesh(doc.nodes.size());  // a rigid one, at or below
  std::vector<bool> above(doc.nodes.size());    // has a bone at or below
  for (auto index = made.order.rbegin(); index != made.order.rend(); ++index) {
    const std::size_t at = At(*index);
    const node& from = doc.nodes[at];
    nodeplan& own = made.nodes[at];
    hasMesh[at] = hasMesh[at] || HasRigidMesh(doc, from);
    if (below[at] && (above[at] || (own.animated && hasMesh[at]))) {
      own.bone = true;
    }
    if (from.parent >= 0) {
      above[At(from.parent)] = above[At(from.parent)] || above[at] || own.bone;
      hasMesh[At(from.parent)] = hasMesh[At(from.parent)] || hasMesh[at];
    }
  }
  for (const int index : made.order) {
    nodeplan& own = made.nodes[At(index)];
    const int parent = doc.nodes[At(index)].parent;
    own.carrier = own.bone ? index : parent >= 0 ? made.nodes[At(parent)].carrier : -1;
  }
}

}  // namespace

bool HasTriangles(const document& doc, const primitive& part) {
  const int positions = part.Attribute("POSITION");
  return part.mode >= primitivemode::Triangles && positions >= 0 &&
         doc.accessors[At(positions)].count > 0;
}

bool IsSkinned(const node& owner, const primitive& part) {
  return owner.skin >= 0 && part.Attribute("JOINTS_0") >= 0 && part.Attribute("WEIGHTS_0") >= 0;
}

plan MakePlan(const document& doc) {
  plan made;
  made.nodes.resize(doc.nodes.size());
  IncludeNodes(doc, made);
  made.order = OrderOf(doc, made);
  for (const animation& clip : doc.animations) {
    for (const channel& moved : clip.channels) {
      if (moved.path != target::Weights) {
        made.nodes[At(moved.node)].animated = true;
      }
    }
  }
  FindBones(doc, made);
  return made;
}

}  // namespace gltf
