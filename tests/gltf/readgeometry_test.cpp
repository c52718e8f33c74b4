#include "gltf/readtest.h"

namespace {

using nlohmann::json;

class ReadGeometry : public readtest {
 protected:
  const core::meshstate& ReadMesh(const gltfmodel& model) {
    EXPECT_TRUE(Read(model)) << told.fault;
    return MeshOf(scene.Nodes().at(0));
  }

  static std::vector<int> Corners(const core::meshstate& mesh) {
    std::vector<int> corners;
    for (const cface& face : mesh.faces) {
      corners.insert(corners.end(), face.v, face.v + 3);
    }
    return corners;
  }

  static void ExpectPlace(const cpoint3& p, float x, float y, float z) {
    EXPECT_LT((p - MakePt3(x, y, z)).Length(), 1e-6F);
  }
};

TEST_F(ReadGeometry, StripsAndFansAndPlainCornersBecomeTriangles) {
  const struct {
    int mode;
    std::vector<int> indices;
    std::vector<int> corners;
  } cases[] = {
      {4, {}, {0, 2, 1, 3, 5, 4}},
      {4, {5, 4, 3}, {5, 3, 4}},
      {5, {}, {0, 2, 1, 1, 2, 3, 2, 4, 3, 3, 4, 5}},
      {5, {0, 1, 2, 2, 3, 3, 4, 5}, {0, 2, 1, 3, 4, 5}},  // turned round by repeated corners
      {6, {0, 2, 3, 5}, {2, 0, 3, 3, 0, 5}},
  };
  for (const auto& each : cases) {
    gltfmodel model;
    json part = {{"attributes", {{"POSITION", model.Floats("VEC3", std::vector<float>(18, 1.0F))}}},
                 {"mode", each.mode}};
    if (!each.indices.empty()) {
      part["indices"] = model.Shorts("SCALAR", each.indices);
    }
    model.Node({{"mesh", model.Mesh(part)}});
    core::scene own;
    ASSERT_TRUE(gltf::ReadScene(files.Write("m.glb", model.Binary()), how, own, told));
    EXPECT_EQ(Corners(MeshOf(own.Nodes()[0])), each.corners);
  }
}

// Interleaved, with a stride that is no element's size, and quantized as the extension allows.
TEST_F(ReadGeometry, ComponentsOfEveryTypeAreRead) {
  gltfmodel model;
  model.doc["extensionsRequired"] = {"KHR_mesh_quantization"};
  bytewriter places, normals, coordinates;
  places.I16(std::array{100, -200, 300, 0, 7, 8, 9, 0, 0, 0, 0, 0});
  normals.I8(std::array{0, 127, 0, 0, -128, 0, 0, 0, 0, 0, 64, 0});
  coordinates.I16(std::array{65535, 0, 0, 65535, 32767, 13107});
  const auto add = [&](const char* type, int component, const bytewriter& content, int stride) {
    const int place = model.Accessor(type, component, content.Content());
    model.Accessors().back().update({{"count", 3}, {"normalized", component != 5122}});
    model.doc["bufferViews"].back()["byteStride"] = stride;
    return place;
  };
  const int p = add("VEC3", 5122, places, 8);
  const int n = add("VEC3", 5120, normals, 4);
  const int t = add("VEC2", 5123, coordinates, 4);
  model.Node(
      {{"mesh", model.Mesh({{"attributes", {{"POSITION", p}, {"NORMAL", n}, {"TEXCOORD_0", t}}}})},
       {"scale", {0.01, 0.01, 0.01}}});
  const core::meshstate& mesh = ReadMesh(model);
  ExpectPlace(mesh.verts[0], 3.0F, 1.0F, -2.0F);
  ExpectPlace(mesh.verts[1], 0.09F, 0.07F, 0.08F);
  ExpectPlace(mesh.normals[0], 0.0F, 0.0F, 1.0F);
  ExpectPlace(mesh.normals[1], 0.0F, -1.0F, 0.0F);
  ExpectPlace(mesh.normals[2], 1.0F, 0.0F, 0.0F);
  ExpectPlace(mesh.tverts[0], 1.0F, 0.0F, 0.0F);
  ExpectPlace(mesh.tverts[2], 32767.0F / 65535.0F, 0.2F, 0.0F);
}

// Scaled, then rotated counter-clockwise on an image whose second coordinate runs down, then moved.
TEST_F(ReadGeometry, TextureTransformsAreApplied) {
  gltfmodel model;
  const int places = model.Floats("VEC3", {0, 0, 0, 1, 0, 0, 0, 1, 0});
  const int coordinates = model.Floats("VEC2", {0, 0, 1, 0, 0, 1});
  model.Node(
      {{"mesh", model.Mesh({{"attributes", {{"POSITION", places}, {"TEXCOORD_1", coordinates}}},
                            {"material", 0}})}});
  model.doc["textures"] = json::array({json::object()});
  model.doc["materials"] =
      json::parse(R"([{"pbrMetallicRoughness": {"baseColorTexture": {"index": 0,
      "extensions": {"KHR_texture_transform": {"scale": [2, 4], "rotation": 1.5707963267948966,
                                               "offset": [0.5, 0.25], "texCoord": 1}}}}}])");
  const core::meshstate& mesh = ReadMesh(model);
  ExpectPlace(mesh.tverts[0], 0.5F, 0.25F, 0.0F);
  ExpectPlace(mesh.tverts[1], 0.5F, -1.75F, 0.0F);
  ExpectPlace(mesh.tverts[2], 4.5F, 0.25F, 0.0F);
}

TEST_F(ReadGeometry, MeshesWithoutNormalsAreSmoothed) {
  gltfmodel model;
  model.Node({{"mesh", model.Triangle()}});
  ExpectPlace(ReadMesh(model).normals[0], 1.0F, 0.0F, 0.0F);
}

// Ten vertices for two primitives: the one that uses four of them gets four, the one that uses
// eight gets all ten, and a primitive that has its vertices for itself gets them all.
TEST_F(ReadGeometry, SharedVerticesAreLeftToThosePrimitivesThatUseThem) {
  gltfmodel model;
  std::vector<float> places(30);
  for (std::size_t i = 0; i < 10; ++i) {
    places[3 * i] = static_cast<float>(i);
  }
  const json shared = {{"POSITION", model.Floats("VEC3", places)}};
  const json own = {{"POSITION", model.Floats("VEC3", places)}};
  const auto part = [&](const json& attributes, const std::vector<int>& indices) {
    return json{{"attributes", attributes}, {"indices", model.Bytes("SCALAR", indices)}};
  };
  model.Node({{"mesh", model.Mesh(part(shared, {9, 3, 5, 3, 9, 7}))}});
  model.Node({{"mesh", model.Mesh(part(shared, {0, 1, 2, 3, 4, 5, 6, 7, 0}))}});
  model.Node({{"mesh", model.Mesh(part(own, {1, 2, 3}))}});
  const core::meshstate& few = ReadMesh(model);
  ASSERT_EQ(few.verts.size(), 4U);
  EXPECT_EQ(Corners(few), (std::vector<int>{3, 1, 0, 0, 2, 3}));
  EXPECT_EQ(few.verts[2].y, 7.0F);
  EXPECT_EQ(MeshOf(scene.Nodes()[1]).verts.size(), 10U);
  EXPECT_EQ(MeshOf(scene.Nodes()[2]).verts.size(), 10U);
}

}  // namespace
