#include <cmath>
#include <cstddef>
#include <cstring>
#include <iterator>

#include "core/assertion.h"
#include "testscene.h"

namespace {

class Scene : public scenetest {};

TEST_F(Scene, TracksInterpolateAndHoldTheirEnds) {
  ckey opposite = KeyAt(24, {0, 0, 8}, {0, -170, 0});
  opposite.rot = {-opposite.rot.x, -opposite.rot.y, -opposite.rot.z, -opposite.rot.w};
  cbone* bone = AddBone("b", nullptr,
                        {KeyAt(20, {10, 20, 40}, {0, -170, 0}, {3, 1, 1}), opposite,
                         KeyAt(10, {0, 0, 0}, {0, 170, 0})});
  const struct {
    int frame;
    cpoint3 pos;
    float yaw;
    float scale;
  } cases[] = {{-5, {0, 0, 0}, 170, 1},
               {13, {3, 6, 12}, 176, 1.6F},
               {20, {10, 20, 40}, 190, 3},
               {22, {5, 10, 24}, 190, 2},
               {900, {0, 0, 8}, 190, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.frame);
    ExpectPoint(bone->GetPosAtFrame(c.frame), c.pos, 1e-5F);
    const cpoint3 forward{std::cos(c.yaw * 0.017453293F), std::sin(c.yaw * 0.017453293F), 0};
    ExpectPoint(bone->GetTMAtFrame(c.frame, kWholeTransform).GetRow3(0), forward * c.scale, 1e-5F);
    ExpectPoint(bone->GetTMAtFrame(c.frame, kRotationOnly).GetRow3(0), forward, 1e-5F);
    ExpectPoint(bone->GetTMAtFrame(c.frame, kRotationOnly).GetTrans(), cpoint3(), 0.0F);
  }
}

TEST_F(Scene, ParentsComeFirstAndNoNodeIsItsOwnAncestor) {
  cbone* child = AddBone("child", nullptr, {});  // added before its parent
  cbone* root = AddBone("root", nullptr, {});
  cbone* grandchild = AddBone("grandchild", child, {});
  root->AttachChild(child, 1);
  EXPECT_EQ(grandchild->AttachChild(root, 1), 0);
  culongarray order;
  Interface::GetNodesHierarchy(order);
  EXPECT_TRUE(order[0] == 1 && order[1] == 0 && order[2] == 2);
  EXPECT_THROW(order[3], core::assertionfailure);
}

TEST_F(Scene, DeepChainsAndDestroyedNodes) {
  constexpr int kDepth = 10000;
  cnode* last = nullptr;
  for (int i = 0; i < kDepth; ++i) {
    last = AddBone("", last, {KeyAt(0, MakePt3(0.1F, 0, 0))});
  }
  EXPECT_NEAR(last->GetPosAtFrame(0).x, 1000.0F, 1e-3F);
  scene.Nodes()[kDepth / 2]->Destroy();
  EXPECT_EQ(Interface::NumNodes(), kDepth - 1);
  EXPECT_EQ(last->State().index, kDepth - 2);
  EXPECT_NEAR(last->GetPosAtFrame(0).x, 0.1F * (kDepth / 2 - 1), 1e-3F);
}

TEST_F(Scene, APoseIsEvaluatedOnceWhateverTheOrderOfQuestions) {
  constexpr int kBones = 40;
  constexpr int kFrames = 100;
  cnode* last = nullptr;
  for (int i = 0; i < kBones; ++i) {
    last = AddBone("", last, {KeyAt(0, {1, 0, 0}), KeyAt(kFrames, {2, 0, 0})});
  }
  for (int i = 0; i < kBones * kFrames; ++i) {
    scene.Nodes()[static_cast<std::size_t>(i / kFrames)]->GetPosAtFrame(i % kFrames);
  }
  for (int i = 0; i < kBones * kFrames; ++i) {
    cnode& node = *scene.Nodes()[static_cast<std::size_t>(i % kBones)];
    ASSERT_NEAR(node.GetPosAtFrame(i / kBones).x,
                static_cast<float>((i % kBones + 1) * (kFrames + i / kBones)) / kFrames, 1e-4F);
  }
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

// More frames than are remembered at first: a caller that keeps going through them has each
// evaluated three times at most.
TEST_F(Scene, PosesOfManyFramesAreRememberedForACallerThatComesBack) {
  constexpr int kFrames = 2000;
  constexpr std::uint64_t kBones = 40;
  cnode* last = nullptr;
  for (std::uint64_t i = 0; i < kBones; ++i) {
    last = AddBone("", last, {KeyAt(-kFrames, {}), KeyAt(kFrames, {2, 0, 0})});
  }
  for (const int first : {-kFrames, 0}) {
    core::SetKeys(*last, last->State().track->State().keys);  // all poses are forgotten
    std::uint64_t evaluated = scene.PosesEvaluated();
    for (int pass = 0; pass < 5; ++pass) {
      for (int frame = first; frame < first + kFrames; ++frame) {
        ASSERT_NEAR(last->GetPosAtFrame(frame).x,
                    static_cast<float>(kBones) * (1.0F + static_cast<float>(frame) / kFrames),
                    0.01F);
      }
      const std::uint64_t each = (scene.PosesEvaluated() - evaluated) / kBones;
      evaluated = scene.PosesEvaluated();
      EXPECT_LE(each, pass < 3 ? kFrames : 1);
    }
  }
}

TEST_F(Scene, MaterialsAndNotes) {
  cmaterial* materials[4];
  for (cmaterial*& material : materials) {
    material = CreateNewMaterial();
    UniqueNameForMaterial(material->GetName(), -1);
    Interface::AddToScene(material, 0);
  }
  EXPECT_STREQ(materials[3]->GetName(), "Material.3");
  for (int i = 0; i < 1000; ++i) {  // stays within its buffer
    UniqueNameForMaterial(materials[3]->GetName(), -1);
  }
  cbone* bone = AddBone("bone", nullptr, {});
  bone->SetMaterial(materials[2]);
  cbooleanarray unused;
  Interface::GetUnusedMaterials(unused);
  EXPECT_TRUE(unused.NumNonZero() == 3 && unused[2] == 0);
  materials[2]->Delete();
  EXPECT_EQ(bone->GetMaterial(), nullptr);

  Interface::AddNotes("one\r\n", 5);
  Interface::AddNotes("two and more", 3);
  Interface::AddNotes("end", 300);
  EXPECT_EQ(scene.notes, "one\r\ntwoend");
}

// Angles as models store them and ones beside them, by the library's functions.
TEST(Values, RotationsAreTheLibrarysCosineAndSine) {
  int wrong = 0;
  for (int unit = -65536; unit <= 65536; ++unit) {
    const float stored = static_cast<float>(unit) * (360.0F / 65536.0F);
    for (const float degrees : {stored, std::nextafter(stored, 999.0F), 360.0F + stored}) {
      const double radians = std::remainder(double{degrees}, 360.0) * (std::numbers::pi / 180.0);
      const bool quarter = std::fmod(degrees, 90.0F) == 0.0F;
      const auto wanted = [quarter](double value) {
        return static_cast<float>(quarter ? std::round(value) : value);
      };
      cmatrix4 turn;
      turn.FromAngleX(degrees);
      wrong += static_cast<int>(turn.m[1][1] != wanted(std::cos(radians)) ||
                                turn.m[2][1] != wanted(std::sin(radians)));
    }
  }
  EXPECT_EQ(wrong, 0);
}

TEST(Values, LookAtIsARotationWithItsDirectionInRowTwo) {
  for (const cpoint3& direction :
       {cpoint3{0, 1, 0}, {0, -1, 0}, {0.6F, 0, -0.8F}, {0, 0.6F, 0.8F}}) {
    cmatrix4 look;
    MatrixLookAt(look, direction, MakePt3(0, 1, 0));
    const cpoint3 x = look.GetRow3(0), y = look.GetRow3(1);
    EXPECT_NEAR(x.Length(), 1.0F, 1e-6F);
    ExpectPoint(look.GetRow3(2), direction, 1e-6F);
    ExpectPoint({x.y * y.z - x.z * y.y, x.z * y.x - x.x * y.z, x.x * y.y - x.y * y.x}, direction,
                1e-6F);
  }
}

// What a module of another compiler run relies on beside the sizes: where its virtual calls land.
TEST(Node, OrderOfTheTable) {
  const auto slot = [](auto member) {
    std::ptrdiff_t parts[2];
    static_assert(sizeof member == sizeof parts);
    std::memcpy(parts, &member, sizeof parts);
    return (parts[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
  };
  const std::ptrdiff_t slots[] = {
      slot(&cnode::Destroy),      slot(&cnode::SetName),       slot(&cnode::GetName),
      slot(&cnode::GetType),      slot(&cnode::GetFlags),      slot(&cnode::GetBBoxAtFrame),
      slot(&cnode::GetParent),    slot(&cnode::AttachChild),   slot(&cnode::SetMaterial),
      slot(&cnode::GetMaterial),  slot(&cnode::GetPosAtFrame), slot(&cnode::GetRotAtFrame),
      slot(&cnode::GetTMAtFrame), slot(&cnode::UpdateAnim)};
  for (std::ptrdiff_t i = 0; i < std::ssize(slots); ++i) {
    EXPECT_EQ(slots[i], i);
  }
}

}  // namespace
