// Every allocation of a small life of a scene fails once, in turn: what was made until then must
// be released, and the scene stays usable.

#include <cstdlib>
#include <new>

#include "core/assertion.h"
#include "testscene.h"

namespace {

long live = 0;
long untilFailure = -1;  // allocations that still succeed; negative: all

void* Allocate(std::size_t size) {
  if (untilFailure == 0) {
    throw std::bad_alloc();
  }
  untilFailure -= untilFailure > 0 ? 1 : 0;
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  ++live;
  return memory;
}

void Release(void* memory) noexcept {
  live -= memory != nullptr ? 1 : 0;
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void operator delete(void* memory) noexcept { Release(memory); }
void operator delete[](void* memory) noexcept { Release(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { Release(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { Release(memory); }

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

TEST(Allocation, EveryFailureReleasesAllAndLeavesAUsableScene) {
  long failures = 0;
  for (bool whole = false; !whole; ++failures) {
    const long before = live;
    {
      core::scene scene;
      core::scene::MakeCurrent(&scene);
      untilFailure = failures;
      try {
        Live();
        whole = true;
      } catch (const std::bad_alloc&) {
      } catch (const core::assertionfailure&) {
      }
      untilFailure = -1;
      for (cnode* node : scene.Nodes()) {
        cpoint3 low;
        cpoint3 high;
        node->GetBBoxAtFrame(0, low, high);
        node->GetTMAtFrame(2, kWholeTransform);
      }
      Live();
    }
    ASSERT_EQ(live, before) << "after failure " << failures;
  }
  EXPECT_GT(failures, 40);
}

}  // namespace
