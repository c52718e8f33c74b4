#include "support/scenebuild.h"

ckey KeyAt(int frame, const cpoint3& position, const cpoint3& angles, const cpoint3& scale) {
  return {frame, position, EulerToQuat(angles), scale};
}

namespace {

template <class Node>
Node* Place(Node* node, const std::string& name, cnode* parent, const std::vector<ckey>& keys) {
  node->SetName(name.c_str());
  core::SetKeys(*node, keys);
  if (parent != nullptr) {
    parent->AttachChild(node, 1);
  }
  Interface::AddToScene(node, 0);
  return node;
}

}  // namespace

cbone* AddBone(const std::string& name, cnode* parent, const std::vector<ckey>& keys) {
  return Place(CreateNewBone(), name, parent, keys);
}

cnode* AddDummy(const std::string& name, cnode* parent, const std::vector<ckey>& keys) {
  return Place(new core::cdummy, name, parent, keys);
}

cmesh* MakeMesh(const std::string& name, const std::vector<cpoint3>& verts,
                const std::vector<corners>& triangles) {
  cmesh* mesh = CreateNewMesh();
  mesh->SetName(name.c_str());
  const int numVerts = static_cast<int>(verts.size());
  mesh->Allocate(numVerts, numVerts, static_cast<int>(triangles.size()));
  for (int v = 0; v < numVerts; ++v) {
    const float step = static_cast<float>(v) / 8.0F;
    mesh->SetVert(v, verts[static_cast<std::size_t>(v)]);
    mesh->SetTVert(v, MakePt3(step, 1.0F - step, 0.0F));
  }
  int index = 0;
  for (const auto& [a, b, c] : triangles) {
    mesh->SetFace(index++, {.v = {a, b, c}, .tv = {a, b, c}});
  }
  mesh->AutoSmooth(45.0F, 0);
  return mesh;
}

cmesh* AddMesh(const std::string& name, const std::vector<cpoint3>& verts,
               const std::vector<corners>& triangles) {
  cmesh* mesh = MakeMesh(name, verts, triangles);
  Interface::AddToScene(mesh, 0);
  return mesh;
}

cmesh* AddTriangle(const std::string& name, const cpoint3& at) {
  return AddMesh(name, {at, at + MakePt3(1, 0, 0), at + MakePt3(0, 2, 0)}, {{0, 1, 2}});
}

cskin* AddSkin(const std::string& name, const std::vector<cpoint3>& offsets,
               const std::vector<cnode*>& bones, const std::vector<corners>& triangles) {
  std::vector<cpoint3> rest;
  for (std::size_t v = 0; v < offsets.size(); ++v) {
    rest.push_back(offsets[v] * bones[v]->GetTMAtFrame(0, kWholeTransform));
  }
  cmesh* mesh = MakeMesh(name, rest, triangles);
  cskin* skin = CreateNewSkin();
  skin->Init(mesh);
  mesh->Destroy();
  skin->SetName(name.c_str());
  for (std::size_t v = 0; v < offsets.size(); ++v) {
    skin->SetVertWeight(static_cast<int>(v), 0,
                        {1.0F, offsets[v], MakePt3(0.0F, 0.0F, 1.0F), bones[v]});
    skin->SetVertNumWeights(static_cast<int>(v), 1);
  }
  Interface::AddToScene(skin, 0);
  return skin;
}

cmaterial* AddMaterial(const std::string& name, const char* imagePath) {
  cmaterial* material = CreateNewMaterial();
  material->SetName(name.c_str());
  if (imagePath != nullptr) {
    material->GetImage(0)->SetPathName(imagePath);
  }
  Interface::AddToScene(material, 0);
  return material;
}

void ExpectPoint(const cpoint3& actual, const cpoint3& expected, float tolerance) {
  EXPECT_NEAR(actual.x, expected.x, tolerance);
  EXPECT_NEAR(actual.y, expected.y, tolerance);
  EXPECT_NEAR(actual.z, expected.z, tolerance);
}
