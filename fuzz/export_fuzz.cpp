// A scene made from the input through an exporter: bones, meshes and skins with any parents, keys,
// names, indices, weights and frames.

#include <fuzzer/FuzzedDataProvider.h>

#include <cstring>
#include <vector>

#include "core/state.h"
#include "handlers.h"

namespace {

class scenemaker {
 public:
  scenemaker(const std::uint8_t* data, std::size_t size) : input_(data, size) {}

  void Fill(core::scene& scene) {
    core::scene::MakeCurrent(&scene);
    scene.animStart = Small(-2, 4);
    scene.animEnd = Small(-2, 8);
    while (nodes_.size() < 12 && input_.remaining_bytes() > 0) {
      AddNode();
    }
    core::scene::MakeCurrent(nullptr);
  }

 private:
  int Small(int low, int high) { return input_.ConsumeIntegralInRange(low, high); }

  // Mostly a number of a model's size, now and then any float.
  float Number() {
    if (Small(0, 15) > 0) {
      return static_cast<float>(input_.ConsumeIntegral<std::int16_t>()) / 64.0F;
    }
    float any = 0.0F;
    const auto bits = input_.ConsumeIntegral<std::uint32_t>();
    std::memcpy(&any, &bits, sizeof any);
    return any;
  }

  cpoint3 Point() { return {Number(), Number(), Number()}; }

  std::string Name() {
    const char* const stem = input_.PickValueInArray({"", "tag_", "Bip01 Spine", "l_"});
    return stem + input_.ConsumeRandomLengthString(70);
  }

  cnode* AnyNode() {
    const int index = Small(-1, static_cast<int>(nodes_.size()) - 1);
    return index < 0 ? nullptr : nodes_[static_cast<std::size_t>(index)];
  }

  void AddNode() {
    cnode* node = nullptr;
    switch (Small(0, 2)) {
      case 0:
        node = CreateNewBone();
        break;
      case 1:
        node = MakeMesh();
        break;
      default:
        node = MakeSkin();
    }
    node->SetName(Name().c_str());
    Interface::AddToScene(node, 0);
    if (cnode* const parent = AnyNode()) {
      parent->AttachChild(node, 1);
    }
    std::vector<ckey> keys(static_cast<std::size_t>(Small(0, 3)));
    for (ckey& key : keys) {
      key = {Small(-3, 10), Point(), EulerToQuat(Point()),
             input_.ConsumeBool() ? Point() : key.scale};
    }
    core::SetKeys(*node, keys);
    nodes_.push_back(node);
  }

  cmesh* MakeMesh() {
    cmesh* const mesh = CreateNewMesh();
    const int count = Small(0, 8);
    const int textured = input_.ConsumeBool() ? count : Small(0, 8);
    mesh->Allocate(count, textured, Small(0, 8));
    for (int v = 0; v < count; ++v) {
      mesh->SetVert(v, Point());
    }
    for (int t = 0; t < textured; ++t) {
      mesh->SetTVert(t, Point());
    }
    for (int f = 0; f < mesh->numFaces; ++f) {
      cface face;
      for (int k = 0; k < 3; ++k) {
        face.v[k] = Small(-3, count);
        face.tv[k] = Small(-3, textured);
      }
      mesh->SetFace(f, face);
    }
    if (input_.ConsumeBool()) {
      cmaterial* const material = CreateNewMaterial();
      material->SetName(Name().c_str());
      cimage image;
      image.SetPathName(Name().c_str());
      material->SetImage(image, 0);
      Interface::AddToScene(material, 0);
      mesh->SetMaterial(material);
    }
    return mesh;
  }

  cskin* MakeSkin() {
    cmesh* const mesh = MakeMesh();
    cskin* const skin = CreateNewSkin();
    skin->Init(mesh);
    mesh->Destroy();
    for (int v = Small(0, 8); v-- > 0;) {
      for (int w = Small(0, 3); w-- > 0;) {
        skin->SetVertWeight(v, w, {Number(), Point(), Point(), AnyNode()});
      }
    }
    return skin;
  }

  FuzzedDataProvider input_;
  std::vector<cnode*> nodes_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  core::scene scene;
  if (size > 0) {
    scenemaker(data + 1, size - 1).Fill(scene);
    handlers::Loaded().Export(data[0], scene);
  }
  return 0;
}
