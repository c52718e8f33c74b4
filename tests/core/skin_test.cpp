#include <cmath>
#include <vector>

#include "testscene.h"

namespace {

struct point {
  double x, y, z;
};

point Apply(const cpoint3& p, const cmatrix4& m) {
  double out[3];
  for (int j = 0; j < 3; ++j) {
    out[j] = static_cast<double>(p.x) * m.m[0][j] + static_cast<double>(p.y) * m.m[1][j] +
             static_cast<double>(p.z) * m.m[2][j] + m.m[3][j];
  }
  return {out[0], out[1], out[2]};
}

class Skin : public scenetest {
 protected:
  // A skin of `verts` points, itself moved, turned and scaled, from a mesh with a material.
  cskin* NewSkin(int verts) {
    cmesh* mesh = CreateNewMesh();
    mesh->Allocate(verts, 0, 1);
    for (int i = 0; i < verts; ++i) {
      mesh->SetVert(i, MakePt3(static_cast<float>(i), 1, 2));
    }
    SetTriangle(*mesh, 0, 0, 1, 2);
    material = CreateNewMaterial();
    Interface::AddToScene(material, 0);
    mesh->SetMaterial(material);
    cskin* skin = CreateNewSkin();
    EXPECT_EQ(skin->Init(mesh), 1);
    EXPECT_EQ(mesh->numFaces, 0);
    mesh->Destroy();
    Interface::AddToScene(skin, 0);
    skin->State().track->SetKey(KeyAt(0, MakePt3(3, -4, 5), MakePt3(10, 20, 30), MakePt3(2, 2, 2)));
    skin->UpdateAnim();
    return skin;
  }

  cmaterial* material = nullptr;
};

cskinweight Weight(float weight, cnode* bone, const cpoint3& offset) {
  cskinweight result;
  result.weight = weight;
  result.bone = bone;
  result.offset = offset;
  result.normal = MakePt3(0, 1, 0);
  return result;
}

TEST_F(Skin, WeightsComeInAnyOrder) {
  cskin* skin = NewSkin(4);
  EXPECT_EQ(skin->GetMaterial(), material);
  EXPECT_EQ(skin->numFaces, 1);
  cbone* bone = AddBone("b", nullptr, {});
  const auto set = [&](int vertex, int index) {
    skin->SetVertWeight(vertex, index,
                        Weight(static_cast<float>(10 * vertex + index), bone, cpoint3()));
  };
  skin->SetVertNumWeights(2, 2);             // number first
  for (int index = 0; index < 5; ++index) {  // in turns, so that stretches have to move
    set(0, index);
    set(1, 4 - index);
    set(3, index);
  }
  set(2, 1);
  set(2, 0);
  skin->SetVertNumWeights(0, 5);
  skin->SetVertNumWeights(1, 5);
  skin->SetVertNumWeights(3, 3);  // fewer than were stored
  const int counts[] = {5, 5, 2, 3};
  for (int v = 0; v < 4; ++v) {
    ASSERT_EQ(skin->GetVertNumWeights(v), counts[v]);
    for (int i = 0; i < counts[v]; ++i) {
      cskinweight got;
      EXPECT_EQ(skin->GetVertWeight(v, i, got), 1);
      EXPECT_EQ(got.weight, static_cast<float>(10 * v + i));
    }
  }
  cskinweight none;
  EXPECT_EQ(skin->GetVertWeight(3, 3, none), 0);
  EXPECT_EQ(skin->GetVertWeight(4, 0, none), 0);
  skin->SetVertWeight(99, 0, none);
  skin->SetVertWeight(0, -1, none);
}

TEST_F(Skin, DeformsLikeAPlainSumInLocalSpace) {
  constexpr int kVerts = 60;
  cskin* skin = NewSkin(kVerts);
  std::vector<cnode*> bones;
  for (int i = 0; i < 7; ++i) {
    const auto f = static_cast<float>(i);
    bones.push_back(
        AddBone("", bones.empty() ? nullptr : bones.back(),
                {KeyAt(0, MakePt3(1, f, 0), MakePt3(5 * f, 0, 10)),
                 KeyAt(20, MakePt3(2, 0, f), MakePt3(0, 15 * f, 60), MakePt3(1.1F, 1, 1))}));
  }
  for (int v = 3; v < kVerts; ++v) {  // the first three stay without weights
    for (int i = 0; i < 1 + v % 4; ++i) {
      // The sums are not 1.
      skin->SetVertWeight(
          v, i,
          Weight(0.1F + 0.05F * static_cast<float>(v % 9),
                 v % 11 == 0 && i == 1 ? nullptr : bones[static_cast<std::size_t>(v + 2 * i) % 7],
                 MakePt3(static_cast<float>(v % 5), static_cast<float>(i), -1.5F)));
    }
  }
  cexpmesh list;
  list.BuildFromSkin(skin, 2);
  for (const int frame : {0, 7, 20}) {
    EXPECT_EQ(list.CalcSkinVertsAtFrame(frame, 1, 1), 1);
    const cmatrix4 world = skin->GetTMAtFrame(frame, kWholeTransform);
    cpoint3 low;
    cpoint3 high;
    skin->GetBBoxAtFrame(frame, low, high);
    cpoint3 least = list.verts[0].pos;
    cpoint3 most = least;
    for (int v = 0; v < kVerts; ++v) {
      point expected{0, 0, 0};
      for (int i = 0; i < skin->GetVertNumWeights(v); ++i) {
        cskinweight w;
        skin->GetVertWeight(v, i, w);
        if (w.bone != nullptr) {
          const point p = Apply(w.offset, w.bone->GetTMAtFrame(frame, kWholeTransform));
          expected = {expected.x + w.weight * p.x, expected.y + w.weight * p.y,
                      expected.z + w.weight * p.z};
        }
      }
      if (v < 3) {
        expected = Apply(MakePt3(static_cast<float>(v), 1, 2), world);
      }
      const cpoint3 local = list.verts[v].pos;
      const point got = Apply(local, world);
      EXPECT_NEAR(got.x, expected.x, 1e-4) << frame << ' ' << v;
      EXPECT_NEAR(got.y, expected.y, 1e-4) << frame << ' ' << v;
      EXPECT_NEAR(got.z, expected.z, 1e-4) << frame << ' ' << v;
      EXPECT_NEAR(list.verts[v].normal.Length(), 1.0F, 1e-5F);
      least = MakePt3(std::min(least.x, local.x), std::min(least.y, local.y),
                      std::min(least.z, local.z));
      most =
          MakePt3(std::max(most.x, local.x), std::max(most.y, local.y), std::max(most.z, local.z));
    }
    ExpectPoint(low, least, 0.0F);
    ExpectPoint(high, most, 0.0F);
  }
  // One joint, at a frame without scale: its turned normal, taken into the skin's own space.
  skin->SetVertNumWeights(3, 1);
  list.CalcSkinVertsAtFrame(0, 1, 1);
  cskinweight only;
  skin->GetVertWeight(3, 0, only);
  ExpectPoint(list.verts[3].normal * skin->GetTMAtFrame(0, kRotationOnly),
              only.bone->GetTMAtFrame(0, kRotationOnly).GetRow3(1), 1e-5F);
}

TEST_F(Skin, FollowsItsChangesAndOutlivesItsJoints) {
  cskin* skin = NewSkin(3);
  skin->State().track->SetKey(ckey());
  cbone* bone = AddBone("b", nullptr, {KeyAt(0, MakePt3(5, 0, 0))});
  for (int v = 0; v < 3; ++v) {
    skin->SetVertWeight(v, 0, Weight(1.0F, bone, MakePt3(0, 0, static_cast<float>(v))));
  }
  cpoint3 low;
  cpoint3 high;
  skin->GetBBoxAtFrame(0, low, high);
  ExpectPoint(low, MakePt3(5, 0, 0), 1e-6F);
  ExpectPoint(high, MakePt3(5, 0, 2), 1e-6F);
  bone->anim.SetKey(KeyAt(0, MakePt3(6, 0, 0)));
  skin->SetVertWeight(2, 0, Weight(1.0F, bone, MakePt3(0, 0, 9)));
  skin->GetBBoxAtFrame(0, low, high);
  ExpectPoint(high, MakePt3(6, 0, 9), 1e-6F);
  bone->Destroy();
  skin->GetBBoxAtFrame(0, low, high);  // all at rest
  ExpectPoint(high, MakePt3(2, 1, 2), 0.0F);
}

}  // namespace
