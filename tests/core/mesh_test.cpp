#include <cmath>

#include "testscene.h"

namespace {

class Mesh : public scenetest {};

TEST_F(Mesh, SmoothingKeepsCreasesAndJoinsSeams) {
  // A roof folded by 40 degrees: smooth at 45, a crease at 30; the seam has both vertices twice,
  // once at -0. The far end of each side keeps its own normal. One face has no area, one an
  // index out of range.
  const float slope = std::tan(20.0F * 0.017453293F);
  cmesh* roof = AddMesh("roof",
                        {{0, 0, 0},
                         {0, 2, 0},
                         {-1, 0, -slope},
                         {-0.0F, 0, 0},
                         {0, 2, -0.0F},
                         {1, 2, -slope},
                         {8, 8, 8},
                         {7, 7, 7}},
                        {{0, 2, 1}, {4, 5, 3}, {6, 6, 7}, {0, 1, 99}});
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
  }
}

TEST_F(Mesh, ACrowdInOnePlaceCostsNoMoreThanItsFaces) {
  // A cone whose tip is split once for each face: every face with every vertex of the tip would
  // be 10^10 comparisons.
  constexpr int kFaces = 100000;
  std::vector<cpoint3> places(2 * kFaces, {0, 0, 0.2F});
  std::vector<corners> triangles;
  for (int i = 0; i < kFaces; ++i) {
    const float angle = 6.2831853F * static_cast<float>(i) / kFaces;
    places[static_cast<std::size_t>(kFaces + i)] = {std::cos(angle), std::sin(angle), 0};
    triangles.push_back({i, kFaces + (i + 1) % kFaces, kFaces + i});
  }
  const cmesh* cone = AddMesh("cone", places, triangles);  // smooths at 45 degrees
  ExpectPoint(cone->Mesh().normals[kFaces / 2], MakePt3(0, 0, 1), 0.02F);
}

TEST_F(Mesh, ExportSplitsByTextureVertexAndFlagsBadFaces) {
  cmesh* mesh = CreateNewMesh();
  Interface::AddToScene(mesh, 0);
  mesh->Allocate(5, 6, 5);
  for (int i = 0; i < 6; ++i) {
    mesh->SetVert(i, MakePt3(static_cast<float>(i), 0, 0));
    mesh->SetTVert(i, MakePt3(static_cast<float>(i) / 8.0F, 0.5F, 0));
  }
  mesh->SetFace(0, {.v = {0, 1, 2}, .tv = {0, 1, 2}});  // vertex 3 has no face
  mesh->SetFace(1, {.v = {0, 2, 4}, .tv = {5, 2, 4}});  // vertex 0 with another texture vertex
  mesh->SetFace(2, {.v = {0, 1, 5}, .tv = {0, 1, 2}});  // no such vertex
  mesh->SetFace(3, {.v = {0, 1, 2}, .tv = {0, 6, 2}});  // no such texture vertex
  mesh->SetFace(4, {.v = {4, 2, 0}, .tv = {4, 2, 5}});  // the split one again
  cexpmesh list;
  for (int round = 0; round < 2; ++round) {  // a second time into the same lists
    list.BuildFromMesh(mesh, 2);
    EXPECT_EQ(list.numFaces, 3);
    EXPECT_EQ(list.numVerts, 6);
    EXPECT_EQ(list.faceFlags.NumNonZero(), 2);
    EXPECT_TRUE(list.faceFlags[2] != 0 && list.faceFlags[3] != 0);
    const unsigned long expected[] = {0, 1, 2, 5, 2, 4};
    for (int i = 0; i < 6; ++i) {
      EXPECT_EQ(list.faces[i], expected[i]);
      EXPECT_EQ(list.vertMap[i], static_cast<unsigned long>(i % 5));
      EXPECT_EQ(list.verts[i].u, static_cast<float>(i) / 8.0F);
    }
    EXPECT_EQ(list.faces[14], 5UL);
  }
  EXPECT_EQ(mesh->Allocate(-1, 0, 0), 0);
}

}  // namespace
