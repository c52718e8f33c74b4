#include "command/surfaces.h"

namespace command {

std::vector<cskin*> SkinsOf(const core::scene& scene) {
  std::vector<cskin*> skins;
  for (cnode* node : scene.Nodes()) {
    if (node->GetType() == kNodeSkin) {
      skins.push_back(static_cast<cskin*>(node));
    }
  }
  return skins;
}

std::vector<cnode*> SurfacesOf(const core::scene& scene) {
  std::vector<cnode*> surfaces;
  for (cnode* node : scene.Nodes()) {
    if (node->GetType() == kNodeSkin || node->GetType() == kNodeMesh) {
      surfaces.push_back(node);
    }
  }
  return surfaces;
}

const core::meshstate& MeshOf(cnode& surface) {
  return surface.GetType() == kNodeSkin ? static_cast<cskin&>(surface).Skin().mesh
                                        : static_cast<cmesh&>(surface).Mesh();
}

}  // namespace command
