#include <cmath>

#include "core/assertion.h"
#include "core/picker.h"
#include "testscene.h"

namespace {

class Scene : public scenetest {};

TEST_F(Scene, TracksInterpolateAndHoldTheirEnds) {
  cbone* bone = AddBone("b", nullptr,
                        {KeyAt(10, MakePt3(0, 0, 0), MakePt3(0, 170, 0)),
                         KeyAt(20, MakePt3(10, 20, 40), MakePt3(0, -170, 0), MakePt3(3, 1, 1)),
                         KeyAt(24, MakePt3(0, 0, 8), MakePt3(0, -170, 0))});
  ckey opposite = KeyAt(24, MakePt3(0, 0, 8), MakePt3(0, -170, 0));
  opposite.rot.x = -opposite.rot.x;  // the same rotation with the other sign
  opposite.rot.y = -opposite.rot.y;
  opposite.rot.z = -opposite.rot.z;
  opposite.rot.w = -opposite.rot.w;
  bone->anim.SetKeyAt(2, opposite, 0);
  const struct {
    int frame;
    cpoint3 pos;
    float yaw;
    float scale;
  } cases[] = {{-5, MakePt3(0, 0, 0), 170, 1},      {10, MakePt3(0, 0, 0), 170, 1},
               {13, MakePt3(3, 6, 12), 176, 1.6F},  {15, MakePt3(5, 10, 20), 180, 2},
               {19, MakePt3(9, 18, 36), 188, 2.8F}, {20, MakePt3(10, 20, 40), 190, 3},
               {22, MakePt3(5, 10, 24), 190, 2},    {24, MakePt3(0, 0, 8), 190, 1},
               {900, MakePt3(0, 0, 8), 190, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.frame);
    ExpectPoint(bone->GetPosAtFrame(c.frame), c.pos, 1e-5F);
    const cpoint3 forward = bone->GetTMAtFrame(c.frame, kWholeTransform).GetRow3(0);
    EXPECT_NEAR(forward.x, c.scale * std::cos(c.yaw * 0.017453293F), 1e-5F);
    EXPECT_NEAR(forward.y, c.scale * std::sin(c.yaw * 0.017453293F), 1e-5F);
    const cpoint3 turned = bone->GetTMAtFrame(c.frame, kRotationOnly).GetRow3(0);
    EXPECT_NEAR(turned.Length(), 1.0F, 1e-6F);
    ExpectPoint(bone->GetTMAtFrame(c.frame, kRotationOnly).GetTrans(), cpoint3(), 0.0F);
  }
}

TEST_F(Scene, KeysInAnyOrderAndDenseTracks) {
  cbone* bone = CreateNewBone();
  Interface::AddToScene(bone, 0);
  constexpr int kKeys = 1000;
  bone->anim.SetNumKeys(kKeys, 0);
  for (int i = 0; i < kKeys; ++i) {
    const int frame = (i * 7) % kKeys;
    ckey key = KeyAt(frame, MakePt3(static_cast<float>(frame), 0, 0));
    EXPECT_EQ(bone->anim.SetKeyAt(i, key, 0), 1);
    bone->GetPosAtFrame(500);  // half done: any answer, no harm
  }
  ckey beyond;
  EXPECT_EQ(bone->anim.SetKeyAt(kKeys, beyond, 0), 0);
  EXPECT_EQ(bone->anim.SetKeyAt(-1, beyond, 0), 0);
  bone->UpdateAnim();
  for (int frame = 0; frame < kKeys; ++frame) {
    ASSERT_EQ(bone->GetPosAtFrame(frame).x, static_cast<float>(frame));
  }
}

TEST_F(Scene, WorldIsLocalTimesParentAndOrderIsParentsFirst) {
  // Added before its parent.
  cbone* child = AddBone("child", nullptr, {KeyAt(0, MakePt3(1, 0, 0), MakePt3(0, 0, 90))});
  cbone* root =
      AddBone("root", nullptr, {KeyAt(0, MakePt3(10, 0, 0), MakePt3(0, 90, 0), MakePt3(2, 2, 2))});
  cbone* grandchild = AddBone("grandchild", child, {KeyAt(0, MakePt3(0, 0, 1))});
  ExpectPoint(child->GetPosAtFrame(0), MakePt3(1, 0, 0), 0.0F);
  EXPECT_EQ(root->AttachChild(child, 1), 1);
  EXPECT_EQ(grandchild->AttachChild(root, 1), 0);  // a ring
  EXPECT_EQ(root->AttachChild(root, 1), 0);
  EXPECT_EQ(root->GetParent(), nullptr);
  EXPECT_EQ(child->GetParent(), root);
  // Yaw 90 takes x to y; the root's scale doubles the offset.
  ExpectPoint(child->GetPosAtFrame(0), MakePt3(10, 2, 0), 1e-5F);
  const cmatrix4 expected = child->GetTMAtFrame(0, kWholeTransform);
  ExpectPoint(grandchild->GetPosAtFrame(0), MakePt3(0, 0, 1) * expected, 1e-5F);

  culongarray order;
  Interface::GetNodesHierarchy(order);
  ASSERT_EQ(order.Count(), 3);
  EXPECT_EQ(order[0], 1U);
  EXPECT_EQ(order[1], 0U);
  EXPECT_EQ(order[2], 2U);
  EXPECT_THROW(order[3], core::assertionfailure);
}

TEST_F(Scene, DeepChainsAndDestroyedNodes) {
  constexpr int kDepth = 10000;
  cnode* last = nullptr;
  for (int i = 0; i < kDepth; ++i) {
    last = AddBone("", last, {KeyAt(0, MakePt3(0.1F, 0, 0))});
  }
  EXPECT_NEAR(last->GetPosAtFrame(0).x, 1000.0F, 1e-3F);
  culongarray order;
  Interface::GetNodesHierarchy(order);
  EXPECT_EQ(order[kDepth - 1], static_cast<unsigned long>(kDepth - 1));
  scene.Nodes()[kDepth / 2]->Destroy();
  EXPECT_EQ(Interface::NumNodes(), kDepth - 1);
  EXPECT_NEAR(last->GetPosAtFrame(0).x, 0.1F * (kDepth / 2 - 1), 1e-3F);
}

TEST_F(Scene, APoseIsEvaluatedOnceWhateverTheOrderOfQuestions) {
  constexpr int kBones = 40;
  constexpr int kFrames = 100;
  cnode* last = nullptr;
  for (int i = 0; i < kBones; ++i) {
    last = AddBone("", last, {KeyAt(0, MakePt3(1, 0, 0)), KeyAt(100, MakePt3(2, 0, 0))});
  }
  const auto askAll = [this](bool nodeByNode) {
    for (int i = 0; i < kBones * kFrames; ++i) {
      const int node = nodeByNode ? i / kFrames : i % kBones;
      const int frame = nodeByNode ? i % kFrames : i / kBones;
      const float each = 1.0F + static_cast<float>(frame) / 100.0F;
      ASSERT_NEAR(scene.Nodes()[static_cast<std::size_t>(node)]->GetPosAtFrame(frame - 50).x,
                  static_cast<float>(node + 1) * (frame < 50 ? 1.0F : each - 0.5F), 1e-4F);
    }
  };
  askAll(true);
  EXPECT_EQ(scene.PosesEvaluated(), std::uint64_t{kBones} * kFrames);
  askAll(false);
  EXPECT_EQ(scene.PosesEvaluated(), std::uint64_t{kBones} * kFrames);

  static_cast<cbone*>(scene.Nodes()[0])->anim.SetKey(KeyAt(0, MakePt3(0, 5, 0)));
  EXPECT_EQ(last->GetPosAtFrame(0).y, 5.0F);
  cbone* outside = CreateNewBone();  // not in the scene, but above it
  outside->AttachChild(scene.Nodes()[0], 1);
  outside->anim.SetKey(KeyAt(0, MakePt3(0, 0, 7)));
  EXPECT_EQ(last->GetPosAtFrame(0).z, 7.0F);
  outside->Destroy();
  EXPECT_EQ(last->GetPosAtFrame(0).z, 0.0F);
}

TEST_F(Scene, MaterialsNotesPickerAndAssertion) {
  cmaterial* materials[4];
  for (cmaterial*& material : materials) {
    material = CreateNewMaterial();
    UniqueNameForMaterial(material->GetName(), -1);
    Interface::AddToScene(material, 0);
  }
  EXPECT_STREQ(materials[0]->GetName(), "Material");
  EXPECT_STREQ(materials[3]->GetName(), "Material.3");
  for (int i = 0; i < 1000; ++i) {  // stays within its buffer
    UniqueNameForMaterial(materials[3]->GetName(), -1);
  }
  materials[1]->SetName("Material.3");
  UniqueNameForMaterial(materials[1]->GetName(), -1);
  EXPECT_STREQ(materials[1]->GetName(), "Material.1");
  const std::string longName(5000, 'x');
  materials[0]->SetName(longName.c_str());
  materials[1]->SetName(longName.c_str());
  UniqueNameForMaterial(materials[1]->GetName(), -1);
  EXPECT_EQ(materials[1]->GetName(), longName + ".1");

  materials[0]->GetImage(0)->SetPathName("models\\a.tga");
  materials[2]->Copy(materials[0]);
  EXPECT_STREQ(materials[2]->GetName(), "Material.2");
  char path[512];
  materials[2]->GetImage(0)->GetPathName(path);
  EXPECT_STREQ(path, "models\\a.tga");

  cbone* first = AddBone("first", nullptr, {});
  cbone* second = AddBone("second", nullptr, {});
  second->SetMaterial(materials[2]);
  cbooleanarray unused;
  Interface::GetUnusedMaterials(unused);
  EXPECT_EQ(unused.count, 4);
  EXPECT_EQ(unused.NumNonZero(), 3);
  EXPECT_EQ(unused[2], 0);
  unused.Zero(0);
  EXPECT_EQ(unused.NumNonZero(), 2);
  materials[2]->Delete();
  EXPECT_EQ(second->GetMaterial(), nullptr);

  static cnode* picked = nullptr;
  const auto pick = [] {
    char title[] = "t";
    char button[] = "b";
    return Interface::PickFromList(
        0, 63, title, button, [](cnode* node) { return node->GetName()[0] == 's' ? 1 : 0; },
        [](cnode* node) { picked = node; });
  };
  EXPECT_EQ(pick(), 0);
  core::SetPicker([&](const std::vector<cnode*>& nodes, const char*, const char*) -> cnode* {
    EXPECT_EQ(nodes, std::vector<cnode*>{second});
    return nodes.front();
  });
  EXPECT_EQ(pick(), 1);
  EXPECT_EQ(picked, second);
  core::SetPicker(nullptr);
  EXPECT_EQ(Interface::GetNodeAt(0), first);

  Interface::AddNotes("one\r\n", 5);
  Interface::AddNotes("two and more", 3);
  Interface::AddNotes("end", 300);
  EXPECT_EQ(scene.notes, "one\r\ntwoend");

  try {
    MyAssertFailedLine("pBone", "ImportMDS.cpp", 12);
  } catch (const core::assertionfailure& failure) {
    EXPECT_STREQ(failure.expression, "pBone");
    EXPECT_EQ(failure.line, 12);
  }
  core::scene::MakeCurrent(nullptr);
  EXPECT_EQ(Interface::NumNodes(), 0);
}

}  // namespace
