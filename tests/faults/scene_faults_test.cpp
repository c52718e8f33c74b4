// Every allocation of a small life of a scene fails once, in turn: what was made until then must
// be released, and the scene stays usable.

#include <new>

#include "core/assertion.h"
#include "core/scene.h"
#include "faults/failingnew.h"
#include "support/scenebuild.h"

namespace {

template <class T>
T* Required(T* made) {
  if (made == nullptr) {
    MyAssertFailedLine("made", __FILE__, __LINE__);
  }
  return made;
}

// Hands each node over before it uses it, so that the scene owns it whatever happens next.
void Live() {
  cbone* root = Required(CreateNewBone());
  Interface::AddToScene(root, 0);
  root->SetName("a name that is too long for the inside of a string");
  cbone* bone = Required(CreateNewBone());
  Interface::AddToScene(bone, 0);
  root->AttachChild(bone, 1);
  bone->anim.SetNumKeys(4, 0);
  cmaterial* material = Required(CreateNewMaterial());
  Interface::AddToScene(material, 0);
  material->SetName("some other name");
  UniqueNameForMaterial(material->GetName(), -1);
  cmesh* mesh = Required(CreateNewMesh());
  Interface::AddToScene(mesh, 0);
  if (mesh->Allocate(3, 3, 1) == 0) {
    throw std::bad_alloc();
  }
  SetTriangle(*mesh, 0, 0, 1, 2);
  mesh->AutoSmooth(45.0F, 0);
  mesh->SetMaterial(material);
  cskin* skin = Required(CreateNewSkin());
  Interface::AddToScene(skin, 0);
  skin->Init(mesh);
  for (int v = 0; v < 3; ++v) {
    cskinweight weight;
    weight.weight = 1.0F;
    weight.bone = bone;
    skin->SetVertWeight(v, 0, weight);
  }
  cexpmesh list;
  list.BuildFromSkin(skin, 2);
  list.CalcSkinVertsAtFrame(3, 1, 1);
  culongarray order;
  Interface::GetNodesHierarchy(order);
  cbooleanarray unused;
  Interface::GetUnusedMaterials(unused);
  cimage image;
  image.SetPathName("models/players/a path that is longer than a short string.tga");
  material->SetImage(image, 0);
  Interface::AddNotes("notes that are longer than a short string may be", 40);
}

TEST(SceneFaults, EveryFailureReleasesAllAndLeavesAUsableScene) {
  long failures = 0;
  for (bool whole = false; !whole; ++failures) {
    const long before = failingnew::Live();
    {
      core::scene scene;
      core::scene::MakeCurrent(&scene);
      failingnew::FailAfter(failures, failingnew::shortage::FromThenOn);
      try {
        Live();
        whole = true;
      } catch (const std::bad_alloc&) {
      } catch (const core::assertionfailure&) {
      }
      failingnew::Stop();
      for (cnode* node : scene.Nodes()) {
        cpoint3 low;
        cpoint3 high;
        node->GetBBoxAtFrame(0, low, high);
        node->GetTMAtFrame(2, kWholeTransform);
      }
      Live();
    }
    ASSERT_EQ(failingnew::Live(), before) << "after failure " << failures;
  }
  EXPECT_GT(failures, 40);
}

}  // namespace
