#include <limits>
#include <random>

#include "core/box.h"
#include "core/deform.h"
#include "testscene.h"

namespace {

class Skin : public scenetest {
 protected:
  // A skin of `verts` points, itself moved, turned and scaled.
  cskin* NewSkin(int verts) {
    std::vector<cpoint3> points;
    for (int i = 0; i < verts; ++i) {
      points.push_back({static_cast<float>(i), 1, 2});
    }
    return NewSkin(points);
  }
  cskin* NewSkin(const std::vector<cpoint3>& points) {
    cmesh* mesh = MakeMesh("", points, {{0, 1, 2}});
    cskin* skin = CreateNewSkin();
    EXPECT_EQ(skin->Init(mesh), 1);
    mesh->Destroy();
    Interface::AddToScene(skin, 0);
    skin->State().track->SetKey(KeyAt(0, MakePt3(3, -4, 5), MakePt3(10, 20, 30), MakePt3(2, 2, 2)));
    skin->UpdateAnim();
    return skin;
  }
};

cskinweight Weight(float weight, cnode* bone, const cpoint3& offset) {
  return {weight, offset, MakePt3(0, 1, 0), bone};
}

// The box at the frame is that of all vertices, to the last bit.
void ExpectBoxOfAll(cskin& skin, int frame) {
  cpoint3 box[2];
  cpoint3 wanted[2];
  ASSERT_EQ(skin.GetBBoxAtFrame(frame, box[0], box[1]), 1);
  core::BoxOf(core::DeformAtFrame(skin, frame, false).positions, wanted[0], wanted[1]);
  for (const int side : {0, 1}) {
    EXPECT_EQ(box[side].x, wanted[side].x);
    EXPECT_EQ(box[side].y, wanted[side].y);
    EXPECT_EQ(box[side].z, wanted[side].z);
  }
}

TEST_F(Skin, WeightsComeInAnyOrder) {
  cskin* skin = NewSkin(3);
  for (int i = 0; i < 10; ++i) {  // in turns, so that stretches have to move
    const int vertex = i % 2;
    const int index = vertex == 0 ? i / 2 : 4 - i / 2;
    skin->SetVertWeight(vertex, index, Weight(static_cast<float>(5 * vertex + index), nullptr, {}));
  }
  skin->SetVertNumWeights(0, 5);
  skin->SetVertNumWeights(1, 3);  // fewer than were stored
  cskinweight got;
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(skin->GetVertWeight(i / 5, i % 5, got), 1);
    EXPECT_EQ(got.weight, static_cast<float>(i));
  }
  EXPECT_EQ(skin->GetVertWeight(1, 3, got) + skin->GetVertWeight(3, 0, got), 0);
  skin->SetVertWeight(99, 0, got);
  skin->SetVertWeight(0, -1, got);
}

// Of two joints and none, with weights whose sum is not 1, in the space of a skin that is placed
// itself; and a vertex without weights.
TEST_F(Skin, DeformsLikeAPlainSumInLocalSpace) {
  cskin* skin = NewSkin(4);
  cbone* a = AddBone("a", nullptr, {KeyAt(0, {}), KeyAt(10, {1, 2, 3}, {0, 90, 0})});
  cbone* b = AddBone("b", a, {KeyAt(0, {0, 0, 4}, {}, {2, 2, 2})});
  skin->SetVertWeight(1, 0, Weight(0.5F, a, {2, 0, 0}));
  skin->SetVertWeight(1, 1, Weight(0.25F, b, {0, 4, 0}));
  skin->SetVertWeight(1, 2, Weight(0.25F, nullptr, {7, 7, 7}));
  skin->SetVertWeight(2, 0, Weight(0.5F, a, {}));
  cexpmesh list;
  list.BuildFromSkin(skin, 2);
  EXPECT_EQ(list.CalcSkinVertsAtFrame(10, 1, 1), 1);
  const cmatrix4 world = skin->GetTMAtFrame(10, kWholeTransform);
  // Yaw 90 takes x to y and y to -x: half of (1, 4, 3) and a quarter of (-7, 2, 7).
  ExpectPoint(list.verts[1].pos * world, {-1.25F, 2.5F, 3.25F}, 1e-5F);
  ExpectPoint(list.verts[0].pos * world, cpoint3{0, 1, 2} * world, 1e-5F);
  ExpectBoxOfAll(*skin, 10);
  // A turned normal, taken into the skin's own space.
  const cpoint3 normal = core::DeformAtFrame(*skin, 10, true).normals[2];
  ExpectPoint(normal * skin->GetTMAtFrame(10, kRotationOnly), {-1, 0, 0}, 1e-5F);
}

// A box leaves out vertices that cannot reach it. One vertex among many has weights whose sum is
// not 1, which are negative or missing.
TEST_F(Skin, TheBoxIsThatOfAllVertices) {
  constexpr int kVerts = 300;
  std::minstd_rand random(1);
  const auto pick = [&random](float low, float high) {
    return std::uniform_real_distribution<float>(low, high)(random);
  };
  const auto somewhere = [&](float far) {
    return MakePt3(pick(-far, far), pick(-far, far), pick(-far, far));
  };
  const cpoint3 away = MakePt3(300, 200, -250);
  enum kind { Rigid, WithoutWeights, Negative, Short, Long, Blended };
  enum distant { Joints, Offsets, All };
  for (int round = 0; round < 24; ++round) {
    const auto what = static_cast<distant>(round % 3);
    // So that all vertices stay on one side.
    const float turn = what == Offsets ? 0.1F : 180.0F;
    const float move = what == Offsets ? 1.0F : 9.0F;
    std::vector<cbone*> joints;
    for (const std::string name : {"a", "b", "c", "d", "e", "f"}) {
      cnode* parent = joints.empty() ? nullptr : joints.back();
      const cpoint3 place = parent == nullptr && what != Offsets ? away : cpoint3();
      joints.push_back(AddBone(name, parent,
                               {KeyAt(0, place + somewhere(move), somewhere(turn)),
                                KeyAt(40, place + somewhere(move), somewhere(turn))}));
    }
    const cpoint3 middle = what == Offsets ? away : cpoint3();
    for (const kind few : {Rigid, WithoutWeights, Negative, Short, Long, Blended}) {
      const int odd = static_cast<int>(pick(100, kVerts));
      cskin* skin = NewSkin(kVerts);
      skin->State().track->SetKey(
          what == Offsets ? ckey()
                          : KeyAt(0, what == All ? away : MakePt3(3, -4, 5), {10, 20, 30}));
      for (int v = 0; v < kVerts; ++v) {
        const std::size_t joint = static_cast<std::size_t>(v) * (joints.size() - 1) / kVerts;
        // The second of the first two reaches farthest, and differs from the first in one
        // coordinate.
        const cpoint3 at = v == 0 ? MakePt3(1, 2, 3) : v == 1 ? MakePt3(1, 2, -90) : somewhere(4);
        float weight = 1.0F;
        if (v == odd) {
          if (few == WithoutWeights) {
            continue;
          }
          weight = few == Negative ? -0.5F : few == Short ? 0.75F : few == Long ? 1.5F : 1.0F;
        }
        weight = few == Blended && v > 1 ? pick(0, 1) : weight;
        skin->SetVertWeight(v, 0, Weight(weight, joints[joint], middle + at));
        if (weight != 1.0F && few != Short && few != Long) {
          skin->SetVertWeight(v, 1,
                              Weight(1.0F - weight, joints[joint + 1], middle + somewhere(4)));
        }
      }
      for (int frame = 0; frame <= 40; ++frame) {
        ExpectBoxOfAll(*skin, frame);
      }
    }
  }
}

// Files may have coordinates that no box can hold.
TEST_F(Skin, ABoxWithVerticesOutOfAllBounds) {
  constexpr float kHuge = std::numeric_limits<float>::max();
  constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
  cskin* skin = NewSkin({{kHuge, 0, 0}, {-kHuge, 1, 2}, {kNone, kNone, 2}, {1, 2, 3}});
  cbone* joint = AddBone("a", nullptr, {});
  for (int v = 0; v < 4; ++v) {
    skin->SetVertWeight(v, 0, Weight(1.0F, joint, {static_cast<float>(v), 0, 0}));
  }
  for (int frame = 0; frame < 20; ++frame) {
    ExpectBoxOfAll(*skin, frame);
  }
  // A matrix may be out of range, too. The second half reaches beyond the first in x alone.
  cskin* scaled = NewSkin(32);
  cbone* large = AddBone("b", nullptr, {KeyAt(0, {}, {}, {1e20F, 1e20F, 1e20F})});
  cbone* larger = AddBone("c", large, {KeyAt(0, {}, {}, {1e20F, 1e20F, 1e20F})});
  for (int v = 0; v < 32; ++v) {
    const auto place = static_cast<float>(v % 16 + 1);
    const float far = v < 16 ? 9.0F : 1.0F;
    scaled->SetVertWeight(
        v, 0,
        Weight(1.0F, larger,
               {v < 16 ? place : place - 8.5F, v % 2 == 0 ? far : -far, v % 4 < 2 ? far : -far}));
  }
  scaled->State().track->SetKey(ckey());
  for (int frame = 0; frame < 20; ++frame) {
    ExpectBoxOfAll(*scaled, frame);
  }
}

TEST_F(Skin, FollowsItsChangesAndOutlivesItsJoints) {
  cskin* skin = NewSkin(3);
  skin->State().track->SetKey(ckey());
  cbone* bone = AddBone("b", nullptr, {KeyAt(0, {5, 0, 0})});
  for (int v = 0; v < 3; ++v) {
    skin->SetVertWeight(v, 0, Weight(1.0F, bone, MakePt3(0, 0, static_cast<float>(v))));
  }
  const auto expectTop = [&](const cpoint3& expected) {
    cpoint3 low;
    cpoint3 high;
    skin->GetBBoxAtFrame(0, low, high);
    ExpectPoint(high, expected, 1e-6F);
  };
  expectTop({5, 0, 2});
  bone->anim.SetKey(KeyAt(0, {6, 0, 0}));
  skin->SetVertWeight(2, 0, Weight(1.0F, bone, {0, 0, 9}));
  expectTop({6, 0, 9});
  bone->Destroy();
  expectTop({2, 1, 2});  // all at rest
}

}  // namespace
