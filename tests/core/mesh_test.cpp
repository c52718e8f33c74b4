#include <cmath>

#include "testscene.h"

namespace {

class Mesh : public scenetest {
 protected:
  cmesh* NewMesh(int verts, int tverts, int faces) {
    cmesh* mesh = CreateNewMesh();
    EXPECT_EQ(mesh->Allocate(verts, tverts, faces), 1);
    Interface::AddToScene(mesh, 0);
    return mesh;
  }

  // A cube whose vertices are its 8 corners, or 4 for each side.
  cmesh* NewCube(bool split) {
    cmesh* mesh = NewMesh(split ? 24 : 8, 0, 12);
    const int sides[6][4] = {{0, 2, 6, 4}, {1, 5, 7, 3}, {0, 4, 5, 1},
                             {2, 3, 7, 6}, {0, 1, 3, 2}, {4, 6, 7, 5}};
    for (int s = 0; s < 6; ++s) {
      int v[4];
      for (int k = 0; k < 4; ++k) {
        const int corner = sides[s][k];
        v[k] = split ? 4 * s + k : corner;
        mesh->SetVert(v[k],
                      MakePt3((corner & 1) != 0 ? 1.0F : -1.0F, (corner & 2) != 0 ? 1.0F : -1.0F,
                              (corner & 4) != 0 ? 1.0F : -1.0F));
      }
      SetTriangle(*mesh, 2 * s, v[0], v[2], v[1]);
      SetTriangle(*mesh, 2 * s + 1, v[0], v[3], v[2]);
    }
    return mesh;
  }
};

TEST_F(Mesh, SmoothingKeepsCreasesAndJoinsSeams) {
  cmesh* hard = NewCube(true);
  hard->AutoSmooth(45.0F, 0);
  for (const cpoint3& normal : hard->Mesh().normals) {
    EXPECT_FLOAT_EQ(std::abs(normal.x) + std::abs(normal.y) + std::abs(normal.z), 1.0F);
  }
  // Within 90 degrees each corner takes all its sides, split or not. A corner's triangles weigh
  // by area, so a side that has two of them there weighs twice.
  hard->AutoSmooth(90.5F, 0);
  cmesh* joined = NewCube(false);
  joined->AutoSmooth(90.5F, 0);
  for (std::size_t i = 0; i < 24; ++i) {
    for (std::size_t k = 0; k < 8; ++k) {
      const cpoint3 apart = hard->Mesh().verts[i] - joined->Mesh().verts[k];
      if (apart.Length() == 0.0F) {
        ExpectPoint(hard->Mesh().normals[i], joined->Mesh().normals[k], 1e-6F);
      }
    }
  }

  // A roof folded by 40 degrees: smooth at 45, a crease at 30; the seam has both vertices twice,
  // once at -0. The far end of each side keeps its own normal. One vertex has no face, one face
  // no area, one an index out of range.
  const float slope = std::tan(20.0F * 0.017453293F);
  cmesh* roof = NewMesh(9, 0, 4);
  const cpoint3 points[] = {MakePt3(0, 0, 0),     MakePt3(0, 2, 0),     MakePt3(-1, 0, -slope),
                            MakePt3(-0.0F, 0, 0), MakePt3(0, 2, -0.0F), MakePt3(1, 2, -slope),
                            MakePt3(9, 9, 9),     MakePt3(8, 8, 8),     MakePt3(7, 7, 7)};
  for (int i = 0; i < 9; ++i) {
    roof->SetVert(i, points[i]);
  }
  SetTriangle(*roof, 0, 0, 1, 2);
  SetTriangle(*roof, 1, 4, 3, 5);
  SetTriangle(*roof, 2, 7, 7, 8);
  SetTriangle(*roof, 3, 0, 1, 99);
  const cpoint3 left = MakePt3(-std::sin(0.34906585F), 0, std::cos(0.34906585F));
  const cpoint3 right = MakePt3(-left.x, 0, left.z);
  for (const bool smooth : {true, false}) {
    roof->AutoSmooth(smooth ? 45.0F : 30.0F, 0);
    const auto& n = roof->Mesh().normals;
    const cpoint3 up = MakePt3(0, 0, 1);
    ExpectPoint(n[0], smooth ? up : left, 1e-6F);
    ExpectPoint(n[4], smooth ? up : right, 1e-6F);
    ExpectPoint(n[2], left, 1e-6F);
    ExpectPoint(n[5], right, 1e-6F);
    ExpectPoint(n[6], up, 0.0F);
    ExpectPoint(n[7], up, 0.0F);
  }
}

TEST_F(Mesh, ACrowdInOnePlaceCostsNoMoreThanItsFaces) {
  // A cone whose tip is split once for each face: every face with every vertex of the tip would
  // be 10^10 comparisons.
  constexpr int kFaces = 100000;
  cmesh* cone = NewMesh(3 * kFaces, 0, kFaces);
  for (int i = 0; i < kFaces; ++i) {
    const double a = 6.283185307 * i / kFaces;
    const double b = 6.283185307 * (i + 1) / kFaces;
    const auto rim = [](double angle) {
      return MakePt3(static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle)), 0);
    };
    cone->SetVert(3 * i, MakePt3(0, 0, 0.2F));
    cone->SetVert(3 * i + 1, rim(a));
    cone->SetVert(3 * i + 2, rim(b));
    SetTriangle(*cone, i, 3 * i, 3 * i + 1, 3 * i + 2);
  }
  cone->AutoSmooth(45.0F, 0);
  for (int i = 0; i < kFaces; i += 997) {
    ExpectPoint(cone->Mesh().normals[static_cast<std::size_t>(3 * i)], MakePt3(0, 0, 1), 0.02F);
  }
}

TEST_F(Mesh, ExportSplitsByTextureVertexAndFlagsBadFaces) {
  cmesh* mesh = NewMesh(5, 6, 5);
  for (int i = 0; i < 6; ++i) {
    mesh->SetVert(i, MakePt3(static_cast<float>(i), 0, 0));
    mesh->SetTVert(i, MakePt3(static_cast<float>(i) / 8.0F, 0.5F, 0));
  }
  const int tables[5][6] = {{0, 1, 2, 0, 1, 2},   // vertex 3 has no face
                            {0, 2, 4, 5, 2, 4},   // vertex 0 with another texture vertex
                            {0, 1, 5, 0, 1, 2},   // no such vertex
                            {0, 1, 2, 0, 6, 2},   // no such texture vertex
                            {4, 2, 0, 4, 2, 5}};  // the split one again
  for (int f = 0; f < 5; ++f) {
    cface face;
    for (int k = 0; k < 3; ++k) {
      face.v[k] = tables[f][k];
      face.tv[k] = tables[f][k + 3];
    }
    mesh->SetFace(f, face);
  }
  cexpmesh list;
  for (int round = 0; round < 2; ++round) {  // a second time into the same lists
    list.BuildFromMesh(mesh, 2);
    EXPECT_EQ(list.numFaces, 3);
    EXPECT_EQ(list.numVerts, 6);
    EXPECT_EQ(list.vertsBound, 6);
    EXPECT_EQ(list.faces.Count(), 15);
    EXPECT_EQ(list.faceFlags.count, 5);
    EXPECT_EQ(list.faceFlags.NumNonZero(), 2);
    EXPECT_TRUE(list.faceFlags[2] != 0 && list.faceFlags[3] != 0);
    const unsigned long expected[] = {0, 1, 2, 5, 2, 4};
    for (int i = 0; i < 6; ++i) {
      EXPECT_EQ(list.faces[i], expected[i]);
      EXPECT_EQ(list.vertMap[i], i == 5 ? 0UL : static_cast<unsigned long>(i));
      EXPECT_EQ(list.verts[i].u, static_cast<float>(i) / 8.0F);
    }
    EXPECT_EQ(list.faces[12], 4UL);
    EXPECT_EQ(list.faces[14], 5UL);
  }
  EXPECT_EQ(list.CalcSkinVertsAtFrame(0, 1, 1), 0);

  EXPECT_EQ(mesh->Allocate(-1, 0, 0), 0);
  EXPECT_EQ(mesh->numFaces, 0);
  EXPECT_TRUE(mesh->Mesh().verts.empty());
}

}  // namespace
