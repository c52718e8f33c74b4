#include "command/describe/describe.h"
#include "core/state.h"
#include "core/timeline.h"

namespace command {

namespace {

const char* TypeText(cnode& node) {
  switch (node.GetType()) {
    case kNodeBone:
      return "bone";
    case kNodeMesh:
      return "mesh";
    case kNodeSkin:
      return "skin";
    default:
      return "empty";
  }
}

// A name, or nothing where there is none.
description NameOf(cnode* node) {
  return node == nullptr ? description() : description(node->GetName());
}
description NameOf(cmaterial* material) {
  return material == nullptr ? description() : description(material->GetName());
}

description DescribeMesh(cnode& node, const core::meshstate& mesh) {
  return {{"name", node.GetName()},
          {"vertices", mesh.verts.size()},
          {"triangles", mesh.faces.size()},
          {"material", NameOf(node.GetMaterial())}};
}

description DescribeSkin(cskin& node) {
  const core::skinstate& skin = node.Skin();
  description row = DescribeMesh(node, skin.mesh);
  std::uint64_t weights = 0;
  std::uint32_t most = 0;
  for (const core::skinstretch& stretch : skin.stretches) {
    weights += stretch.count;
    most = std::max(most, stretch.count);
  }
  row["weights"] = weights;
  row["mostWeights"] = most;
  row["morphTargets"] = skin.mesh.targets.size();
  return row;
}

}  // namespace

description DescribeScene(const core::scene& scene, double fps) {
  description whole{{"fps", fps},
                    {"animStart", scene.animStart},
                    {"animEnd", scene.animEnd},
                    {"clips", description::array()},
                    {"nodes", description::array()},
                    {"skins", description::array()},
                    {"meshes", description::array()},
                    {"materials", description::array()}};
  for (const core::clip& clip : core::NamedClips(scene)) {
    whole["clips"].push_back({{"name", clip.name},
                              {"start", clip.start},
                              {"frames", clip.frames},
                              {"loop", clip.loop},
                              {"rate", clip.rate}});
  }
  for (cnode* node : scene.Nodes()) {
    whole["nodes"].push_back({{"name", node->GetName()},
                              {"type", TypeText(*node)},
                              {"parent", NameOf(node->GetParent())}});
    if (node->GetType() == kNodeSkin) {
      whole["skins"].push_back(DescribeSkin(*static_cast<cskin*>(node)));
    } else if (node->GetType() == kNodeMesh) {
      whole["meshes"].push_back(DescribeMesh(*node, static_cast<cmesh*>(node)->Mesh()));
    }
  }
  for (cmaterial* material : scene.Materials()) {
    const core::imagestate& image = material->GetImage(0)->State();
    const bool decoded = image.content != nullptr;
    whole["materials"].push_back({{"name", material->GetName()},
                                  {"image", image.path},
                                  {"width", decoded ? image.content->width : 0},
                                  {"height", decoded ? image.content->height : 0}});
  }
  whole["notes"] = scene.notes;
  return whole;
}

}  // namespace command
