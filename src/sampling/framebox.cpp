#include "sampling/framebox.h"

#include <algorithm>
#include <cstring>

#include "plugin/host/scene.h"

cpoint3 CalcOrigin(const char* name) {
  if (name[0] == '\0') {
    return {};
  }
  const int count = Interface::NumNodes();
  for (int i = 0; i < count; ++i) {
    cnode* node = Interface::GetNodeAt(i);
    if (std::strcmp(node->GetName(), name) == 0) {
      return node->GetPosAtFrame(0);
    }
  }
  return {};
}

std::vector<cnode*> SurfaceNodes() {
  std::vector<cnode*> nodes;
  const int count = Interface::NumNodes();
  for (int i = 0; i < count; ++i) {
    cnode* node = Interface::GetNodeAt(i);
    const int type = node->GetType();
    if (type == kNodeMesh || type == kNodeSkin) {
      nodes.push_back(node);
    }
  }
  return nodes;
}

framebox MeasureFrame(const std::vector<cnode*>& nodes, int frame, const cpoint3& origin) {
  constexpr float kFar = 100000.0F;
  framebox box{{kFar, kFar, kFar}, {-kFar, -kFar, -kFar}, 0.0F};
  for (cnode* node : nodes) {
    cpoint3 a;
    cpoint3 b;
    node->GetBBoxAtFrame(frame, a, b);
    CalcTMBBox(a, b, node->GetTMAtFrame(frame, kWholeTransform));
    box.minimum = {std::min(box.minimum.x, a.x), std::min(box.minimum.y, a.y),
                   std::min(box.minimum.z, a.z)};
    box.maximum = {std::max(box.maximum.x, b.x), std::max(box.maximum.y, b.y),
                   std::max(box.maximum.z, b.z)};
  }
  box.minimum = box.minimum - origin;
  box.maximum = box.maximum - origin;
  const cpoint3 edges = box.maximum - box.minimum;
  box.radius = std::max({edges.x, edges.y, edges.z});
  return box;
}
