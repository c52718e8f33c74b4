#include <filesystem>

#include "gltf/readtest.h"

namespace {

using nlohmann::json;
using lines = std::vector<std::string>;

class ReadFiles : public readtest {
 protected:
  const core::imagestate& Image(std::size_t material) const {
    return scene.Materials().at(material)->State().image.State();
  }
};

TEST_F(ReadFiles, MaterialsKeepNamesColoursImagesAndPaths) {
  gltfmodel model;
  model.doc["images"] = json::parse(R"([{"name": "skin", "mimeType": "image/png"},
      {"uri": "my%20images/wall%2B1.png"}, {"uri": "gone.jpg"}, {"mimeType": "image/png"}])");
  model.doc["images"][0]["bufferView"] = model.doc["images"][3]["bufferView"] =
      model.View(OnePixelPng());
  files.Write("my images/wall+1.png", OnePixelPng());
  json& materials = model.doc["materials"];
  for (int i = 0; i < 4; ++i) {
    model.doc["textures"].push_back({{"source", i}});
    materials.push_back(
        {{"name", "same"}, {"pbrMetallicRoughness", {{"baseColorTexture", {{"index", i}}}}}});
  }
  materials.push_back(materials[0]);
  materials.back()["extras"] = {{"game_path", "models\\players\\skin.tga"}};
  materials.push_back({{"extras", {{"game_path", "models/only/named.jpg"}}}});
  materials.push_back(json::parse(R"({"doubleSided": true,
      "pbrMetallicRoughness": {"baseColorFactor": [0.5, 0.25, 0, 1]}})"));
  ASSERT_TRUE(Read(model)) << told.fault;
  const struct {
    const char* name;
    const char* path;
    bool hasPixels;
  } expected[] = {{"same", "skin.png", true},
                  {"same.1", "my images/wall+1.png", true},
                  {"same.2", "gone.jpg", false},
                  {"same.3", "same.3.png", true},
                  {"same.4", "models\\players\\skin.tga", true},
                  {"material_5", "models/only/named.jpg", false},
                  {"material_6", "<empty>", false}};
  ASSERT_EQ(scene.Materials().size(), std::size(expected));
  for (std::size_t i = 0; i < std::size(expected); ++i) {
    EXPECT_STREQ(scene.Materials()[i]->GetName(), expected[i].name);
    EXPECT_EQ(Image(i).path, expected[i].path);
    EXPECT_EQ(Image(i).content != nullptr, expected[i].hasPixels) << i;
  }
  EXPECT_EQ(Image(1).content->encoded, OnePixelPng());
  EXPECT_EQ(Image(1).content->width, 1);
  EXPECT_EQ(scene.Materials()[6]->State().colour[1], 0.25F);
  EXPECT_TRUE(scene.Materials()[6]->State().doubleSided);
  EXPECT_EQ(told.warnings, (lines{"image 2: gone.jpg cannot be read as a JPEG or PNG file"}));
}

TEST_F(ReadFiles, FaultsNameThePlace) {
  const std::vector<badvalue> cases{
      {"/asset/version", "1.0", "glTF of version 1.0, not 2.0"},
      {"/extensionsRequired",
       {"KHR_texture_basisu"},
       "needs the glTF extension KHR_texture_basisu, which is not supported"},
#ifndef MARROW_COMPRESSED_GLTF
      {"/extensionsRequired",
       {"KHR_draco_mesh_compression"},
       "it needs the glTF extension KHR_draco_mesh_compression, which this build does not read: "
       "use a build with the compression libraries, as those for Linux are, or save the scene "
       "uncompressed"},
#endif
      {"/nodes/3/children", {0}, "node 0 is its own ancestor"},
      {"/nodes/3/children", {1}, "node 1 has two parents"},
      {"/nodes/0/children", {77}, "node 0: children: index 77 does not exist (the file has 6)"},
      {"/nodes/0/scale", {1, 1}, "node 0: scale is not an array of 3 numbers"},
      {"/nodes/1/translation/0", 1e300, "node 1: translation out of range"},
      {"/scenes/0/nodes/0", 2, "scene 0: node 2 has a parent"},
      {"/skins/0/joints", json::array(), "skin 0: it has no joints"},
      {"/skins/0/joints", {1, 2, 3}, "skin 0: inverseBindMatrices has 2 matrices for 3 joints"},
      {"/skins/0/joints", {1}, "mesh 0, primitive 0: vertex 0 is on joint 1 of 1"},
      {"/meshes/0/primitives/0/attributes/POSITION", 99,
       "mesh 0, primitive 0, attributes: POSITION: index 99 does not exist (the file has 17)"},
      {"/meshes/0/primitives/0/attributes/NORMAL", 2,
       "mesh 0, primitive 0: NORMAL is of the wrong type (accessor 2)"},
      {"/meshes/0/primitives/0/mode", 9, "mesh 0, primitive 0: unsupported primitive mode 9"},
      {"/accessors/0/count", 5, "mesh 0, primitive 0: POSITION reaches past buffer view 1"},
      {"/accessors/0/sparse/indices/byteOffset", 1,
       "mesh 0, primitive 0: POSITION reaches past buffer view 2"},
      {"/accessors/0/count", 2, "mesh 0, primitive 0: POSITION: a sparse index is out of range"},
      {"/accessors/1/count", 3, "mesh 0, primitive 0: NORMAL has 3 entries for 4 vertices"},
      {"/accessors/5/count", 5, "mesh 0, primitive 0: 5 indices do not make whole triangles"},
      {"/accessors/5/bufferView", 4, "mesh 0, primitive 0: index 5 is vertex 16256 of 4"},
      {"/accessors/0/componentType", 5124, "accessor 0: unsupported component type 5124"},
      {"/bufferViews/1/byteLength", 100000,
       "mesh 0, primitive 0: POSITION: buffer view 1 reaches past buffer 0"},
      {"/bufferViews/0/byteOffset", 100000, "image 0: buffer view 0 reaches past buffer 0"},
      {"/animations/0/samplers/0/output", 1, "animation 0, sampler 0: it has 4 values for 2 times"},
      {"/animations/0/samplers/0/interpolation", "EASE",
       "animation 0, sampler 0: unsupported interpolation \"EASE\""},
  };
  ExpectFaults(SmallGltf(), cases);
}

TEST_F(ReadFiles, FaultsOfFilesAndOfTimes) {
  const gltfmodel good = SmallGltf();
  EXPECT_EQ(FaultOf(files.File("none.glb")), "cannot be read, or is empty");
  const std::string deep(300'000, '[');
  for (const auto& [text, byte] : std::vector<std::pair<std::string, std::size_t>>{
           {"{\"asset\": ", 11},
           {deep, deep.size() + 1},
           {"{\"asset\": 01}", 12},
           {"{\"a\": \"\xC3\"}", 9},         // half a character
           {"{\"a\": \"\xF0", 9},            // as the last byte
           {"{\"a\": \"\\uDC00\"}", 13}}) {  // and half a pair
    EXPECT_EQ(FaultOf(files.Write("a.gltf", text)), "invalid JSON at byte " + std::to_string(byte));
  }
  for (const std::string number : {"1e999", "0e999", "9.9e308"}) {
    EXPECT_EQ(FaultOf(files.Write("a.gltf", "{\"a\": " + number + "}")),
              "invalid JSON: a number is too large");
  }
  ASSERT_TRUE(ReadFile(files.Write(
      "n.gltf", std::string(R"({"asset": {"version": "2.0"}, "scenes": [{"nodes": [0]}], "nodes":
          [{"translation": [0e220, -1e-400, 12345678901234567890123E-22],
            "rotation": [0.00000000000001e-2147483639, 0, 0, 1]}]})"))))
      << told.fault;
  const cpoint3 position = scene.Nodes().front()->GetPosAtFrame(0);
  EXPECT_EQ(position.x + position.y + position.z, 1.234567890123F);
  // The last member of a name counts, whatever stands before it, and a mark of the encoding.
  EXPECT_EQ(FaultOf(files.Write("a.gltf", std::string("\xEF\xBB\xBF{\"asset\": 7, \"asset\": {"
                                                      "\"version\": \"9.\xC3\xA4\"}}"))),
            "glTF of version 9.\xC3\xA4, not 2.0");
  for (const char* uri : {"gone.bin", "/etc/hostname", "http://x/y.bin", ".", "a\\u0000b"}) {
    EXPECT_EQ(FaultOf(files.Write("b.gltf", good.Text(uri))),
              std::string("buffer 0: cannot read ") + uri);
  }
  files.Write("b.bin", good.Buffer());
  const std::string folder =
      std::filesystem::path(files.File("")).parent_path().filename().string();
  for (const std::string& uri : {"../" + folder + "/b.bin", "x/%2e%2e/%2E./" + folder + "/b.bin"}) {
    const std::string path = files.Write("b.gltf", good.Text(uri));
    EXPECT_NE(FaultOf(path).find("b.bin does not lie in the file's folder: --allow-outside"),
              std::string::npos);
    gltf::options outside;
    outside.allowOutside = true;
    core::scene own;
    std::filesystem::create_directory(files.File("x"));
    EXPECT_TRUE(gltf::ReadScene(path, outside, own, told)) << told.fault;
  }
  EXPECT_EQ(FaultOf(files.Write("b.gltf", good.Text("x/../gone.bin"))),
            "buffer 0: cannot read x/../gone.bin");
  files.Write("short.bin", bytes(8));
  const std::string of = " of " + std::to_string(good.Buffer().size()) + " bytes";
  EXPECT_EQ(FaultOf(files.Write("c.gltf", good.Text("short.bin"))), "buffer 0: has 8" + of);
  bytes cut = good.Binary();
  cut.resize(cut.size() - 4);
  EXPECT_NE(FaultOf(files.Write("d.glb", cut)).find("the file ends early"), std::string::npos);

  gltfmodel late = good;
  late.Channel(2, 0, "translation", {0, 1e9F}, {0, 0, 0, 1, 0, 0});
  EXPECT_EQ(FaultOf(files.Write("e.glb", late.Binary())),
            "clip animation_2: the clips have more than 1048576 frames");
  gltfmodel back = good;
  back.Channel(2, 0, "translation", {1, 0}, {0, 0, 0, 1, 0, 0});
  EXPECT_EQ(FaultOf(files.Write("f.glb", back.Binary())),
            "animation 2, sampler 0: its times do not ascend");
  gltfmodel huge = good;  // all zero without a buffer view, so that nothing limits the number
  huge.Accessors()[0].erase("bufferView");
  huge.Accessors()[0]["count"] = 4000000000;
  EXPECT_EQ(FaultOf(files.Write("g.glb", huge.Binary())),
            "mesh 0, primitive 0: POSITION has more values than the file can have");
}

}  // namespace
