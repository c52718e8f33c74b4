#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>

#include "core/decode.h"
#include "core/deform.h"
#include "core/scene.h"
#include "gltf/gltf.h"
#include "samples/bytes.h"
#include "samples/tempdirectory.h"
#include "support/scenebuild.h"

namespace {

using nlohmann::json;

class gltfwrite : public testing::Test {
 protected:
  gltfwrite() { core::scene::MakeCurrent(&scene); }

  bool Write(const std::string& name, const gltf::options& how = {}) {
    told = {};
    return gltf::WriteScene(scene, directory.File(name), how, told);
  }
  // Writes the scene as text and gives its document.
  json Written(const std::string& name) {
    EXPECT_TRUE(Write(name)) << told.fault;
    return json::parse(ReadBytes(directory.File(name)));
  }
  // Writes the scene and reads it into another one.
  void ThereAndBack(const gltf::options& how = {}) {
    ASSERT_TRUE(Write("scene.glb", how)) << told.fault;
    gltf::report read;
    again.emplace();
    ASSERT_TRUE(gltf::ReadScene(directory.File("scene.glb"), how, *again, read)) << read.fault;
    EXPECT_TRUE(read.warnings.empty());
  }

  tempdirectory directory;
  core::scene scene;
  std::optional<core::scene> again;
  gltf::report told;
};

// Skins and bones go through models and scenes in the checks of the command.
TEST_F(gltfwrite, WhatNoModelCarriesReadsBack) {
  const std::vector<ckey> keys{KeyAt(0, {1, 2, 3}, {10, 20, 30}), KeyAt(20, {4, 5, 6}, {40, 5, 6})};
  cmesh* mesh = AddTriangle("wheel");
  core::SetKeys(*mesh, keys);
  AddDummy("tag_wheel", mesh, keys);
  cmaterial* cloth = AddMaterial("cloth", "models\\cloth.tga");
  cloth->State().doubleSided = true;
  mesh->SetMaterial(cloth);
  scene.notes = "two\nlines\n";
  scene.clips = {{"stand", 0, 1}, {"walk", 1, 20}, {"hold", 21, 10}};  // in which nothing moves
  ThereAndBack({40.0, 24.0});
  EXPECT_TRUE(told.warnings.empty());
  ASSERT_EQ(again->Nodes().size(), 2U);
  EXPECT_EQ(again->notes, scene.notes);
  EXPECT_EQ(again->animEnd, 30);
  std::string clips;
  for (const core::clip& each : again->clips) {
    clips += each.name + " " + std::to_string(each.start) + "+" + std::to_string(each.frames) + " ";
  }
  EXPECT_EQ(clips, "stand 0+1 walk 1+20 hold 21+10 ");
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_STREQ(again->Nodes()[i]->GetName(), scene.Nodes()[i]->GetName());
    for (int frame = 0; frame <= 30; frame += 5) {
      const cmatrix4 was = scene.Nodes()[i]->GetTMAtFrame(frame, kWholeTransform);
      const cmatrix4 is = again->Nodes()[i]->GetTMAtFrame(frame, kWholeTransform);
      for (int row = 0; row < 4; ++row) {
        ExpectPoint(is.GetRow3(row), was.GetRow3(row), 1e-5F);
      }
    }
  }
  const core::materialstate& material = again->Nodes()[0]->GetMaterial()->State();
  EXPECT_EQ(material.image.State().path, "models\\cloth.tga");
  EXPECT_TRUE(material.doubleSided);
}

// Single precision cannot tell the times of a long clip from whole frames any more.
TEST_F(gltfwrite, ALongClipKeepsItsFrames) {
  constexpr int kFrames = 20000;
  std::vector<ckey> keys;
  for (int frame = 0; frame < kFrames; ++frame) {
    keys.push_back(KeyAt(frame, MakePt3(static_cast<float>(frame % 97), 0.0F, 0.0F)));
  }
  AddBone("bone", nullptr, keys);
  scene.animEnd = kFrames;
  for (const double fps : {20.0, 24.0, 30.0, 29.97}) {
    ThereAndBack({1.0, fps});
    EXPECT_EQ(again->animEnd, kFrames - 1);
    EXPECT_EQ(again->clips.at(0).frames, kFrames);
    for (const int frame : {1, 777, 12345, 19998, 19999}) {
      EXPECT_EQ(again->Nodes()[0]->GetPosAtFrame(frame).x, static_cast<float>(frame % 97)) << fps;
    }
  }
}

// Whatever keys a track has at its ends, between frames, or twice at one.
TEST_F(gltfwrite, ATrackIsWrittenAsItStandsAtEachFrame) {
  const auto at = [](int frame, float x) { return KeyAt(frame, MakePt3(x, 0.0F, 0.0F)); };
  const std::vector<std::vector<ckey>> tracks{
      {at(0, 1), at(1, 2), at(2, 4), at(3, 8), at(4, 16), at(5, 5), at(6, 6)},
      {at(2, 3), at(3, 1), at(4, 7)},
      {at(0, 1), at(1, 2), at(2, 1), at(3, 9), at(4, 2), at(4, 3)},
      {at(0, 1), at(3, 4)}};
  for (const std::vector<ckey>& keys : tracks) {
    AddBone(std::to_string(scene.Nodes().size()).c_str(), nullptr, keys);
  }
  scene.clips = {{"early", 0, 2}, {"late", 1, 4}};
  ThereAndBack();
  for (std::size_t i = 0; i < tracks.size(); ++i) {
    for (int frame = 0; frame < 6; ++frame) {
      const int was = frame < 2 ? frame : frame - 1;  // the second clip begins in the first
      EXPECT_EQ(again->Nodes()[i]->GetPosAtFrame(frame).x, scene.Nodes()[i]->GetPosAtFrame(was).x)
          << i << " at " << frame;
    }
  }
}

// What does not change costs nothing, and every clip says all that another clip changes.
TEST_F(gltfwrite, ClipsHaveChannelsForWhatMovesInAnyOfThem) {
  AddBone("still", nullptr,
          {KeyAt(0, MakePt3(1.0F, 0.0F, 0.0F)), KeyAt(9, MakePt3(1.0F, 0.0F, 0.0F))});
  AddBone("turns", nullptr,
          {KeyAt(0, {}), KeyAt(4, {}), KeyAt(8, {}, MakePt3(0.0F, 300.0F, 0.0F))});
  scene.clips = {{"none", 0, 4}, {"some", 4, 5}, {"one", 8, 1}};
  const json doc = Written("clips.gltf");
  ASSERT_EQ(doc["animations"].size(), 3U);
  const int keys[] = {4, 5, 1};  // the first holds still, as long as it lasts
  for (std::size_t c = 0; c < 3; ++c) {
    const json& animation = doc["animations"][c];
    ASSERT_EQ(animation["channels"].size(), 1U) << c;
    EXPECT_EQ(animation["channels"][0]["target"], json({{"node", 1}, {"path", "rotation"}}));
    const json& sampler = animation["samplers"][0];
    EXPECT_EQ(doc["accessors"][sampler["input"].get<std::size_t>()]["count"], keys[c]);
    EXPECT_EQ(doc["accessors"][sampler["output"].get<std::size_t>()]["count"], keys[c]);
  }
}

// The largest number of an index's type ends a strip.
TEST_F(gltfwrite, AnIndexIsBelowTheLargestOfItsType) {
  AddMesh("far", std::vector<cpoint3>(256), {{0, 1, 255}});
  EXPECT_EQ(Written("far.gltf")["accessors"].back()["componentType"], 5123);
}

// A file wants the joints of a skin under one node, and skins without a transform.
TEST_F(gltfwrite, JointsOfTwoTreesHangOnOneNode) {
  cnode* bone = AddBone("bone", nullptr, {KeyAt(0, MakePt3(1.0F, 2.0F, 3.0F))});
  cskin* skin = AddSkin("skin", {{}, {8, 0, 0}, {0, 8, 0}}, {bone, bone, bone}, {{0, 1, 2}});
  skin->SetVertNumWeights(2, 0);  // so that it hangs on the skin's own place
  core::SetKeys(*skin, {KeyAt(0, MakePt3(0.0F, 0.0F, 9.0F))});
  ThereAndBack();
  const json doc = Written("scene.gltf");
  EXPECT_EQ(doc["nodes"].size(), 4U);
  EXPECT_EQ(doc["nodes"][1], json({{"name", "skin"}, {"mesh", 0}, {"skin", 0}}));
  EXPECT_EQ(doc["nodes"][2], json({{"name", "skin place"}, {"translation", {0.0, 9.0, 0.0}}}));
  EXPECT_EQ(doc["nodes"][3], json({{"name", "skeleton"}, {"children", {0, 2}}}));
  EXPECT_EQ(doc["scenes"][0]["nodes"], json({1, 3}));
  EXPECT_EQ(doc["skins"][0]["joints"], json({0, 2}));
  const auto read = std::find_if(again->Nodes().begin(), again->Nodes().end(),
                                 [](cnode* node) { return node->GetType() == kNodeSkin; });
  ASSERT_NE(read, again->Nodes().end());
  cpoint3 was[2], is[2];
  skin->GetBBoxAtFrame(0, was[0], was[1]);
  (*read)->GetBBoxAtFrame(0, is[0], is[1]);
  const cpoint3 moved = (*read)->GetPosAtFrame(0) - skin->GetPosAtFrame(0);
  ExpectPoint(is[0] + moved, was[0], 1e-5F);
  ExpectPoint(is[1] + moved, was[1], 1e-5F);
}

TEST_F(gltfwrite, WeightsThatNoFileCanHoldAreMadeFitAndTold) {
  cnode* bone = AddBone("bone", nullptr, {KeyAt(0, {})});
  cskin* skin = AddSkin("skin", {{}, {8, 0, 0}, {0, 8, 0}, {0, 0, 8}}, {bone, bone, bone, bone},
                        {{0, 1, 2}, {0, 2, 3}});
  cbone* foreign = CreateNewBone();
  const auto add = [skin](int vertex, float weight, cnode* joint) {
    cskinweight made;
    skin->GetVertWeight(vertex, 0, made);
    made.weight = weight;
    made.bone = joint;
    skin->SetVertWeight(vertex, skin->GetVertNumWeights(vertex), made);
  };
  add(0, 0.5F, foreign);
  add(1, -0.5F, bone);
  add(2, 0.5F, bone);
  add(3, 0.0F, bone);
  add(3, 0.5F, nullptr);
  ThereAndBack();
  EXPECT_EQ(
      told.warnings,
      (std::vector<std::string>{
          "1 weight on a bone outside the scene is left out", "1 weight below 0 is left out",
          "1 vertex has weights that do not sum up to 1, and is written with weights that do"}));
  auto& read = static_cast<cskin&>(*again->Nodes()[1]);
  for (int v = 0; v < 4; ++v) {
    cskinweight weight;
    ASSERT_EQ(read.GetVertNumWeights(v), 1);
    read.GetVertWeight(v, 0, weight);
    EXPECT_EQ(weight.weight, 1.0F);
  }
  foreign->Destroy();
}

// An import gives the weights the normals of the first frame's joints and the mesh the pose of the
// last frame.
TEST_F(gltfwrite, NormalsAreThoseOfTheMeshsOwnPose) {
  const cpoint3 turn = MakePt3(90.0F, 0.0F, 0.0F);
  cbone* bone = AddBone("bone", nullptr, {KeyAt(0, {}, turn)});
  const cmatrix4 back = Inverse(bone->GetTMAtFrame(0, kWholeTransform));
  cskin* skin = AddSkin("flag", {{}, cpoint3{2, 0, 0} * back, cpoint3{0, 3, 0} * back},
                        {bone, bone, bone}, {{0, 2, 1}});
  core::SetKeys(*bone, {KeyAt(0, {}), KeyAt(1, {}, turn)});
  scene.animEnd = 2;
  ASSERT_EQ(skin->Skin().mesh.normals[0].z, 1.0F);
  ThereAndBack();
  auto& read = *static_cast<cskin*>(again->Nodes()[1]);
  ExpectPoint(core::DeformAtFrame(read, 1, true).normals[0], {0, 0, 1}, 1e-5F);
}

TEST_F(gltfwrite, ImagesPassUnchangedOrAsPng) {
  const bytes tga = {0, 0, 2, 0,  0,    0, 0, 0, 0,   0,  0,  0,  2,
                     0, 1, 0, 32, 0x28, 1, 2, 3, 255, 40, 50, 60, 128};
  cimage painted;
  ASSERT_NE(painted.Load(directory.Write("a.tga", tga).c_str()), 0);
  AddMaterial("first")->SetImage(painted, 0);
  AddMaterial("second")->SetImage(painted, 0);
  AddMaterial("third", "only/a/path.jpg");
  AddMaterial("fourth", "<Empty>");
  const json doc = Written("painted.gltf");
  EXPECT_EQ(doc["images"], json({{{"uri", "painted_0.png"}, {"name", "a.tga"}}}));
  const bytes png = ReadBytes(directory.File("painted_0.png"));
  cimage back;
  ASSERT_NE(back.Load(directory.File("painted_0.png").c_str()), 0);
  EXPECT_EQ(core::DecodeImage(png)->rgba, painted.State().content->rgba);
  EXPECT_EQ(doc["materials"][2]["extras"]["game_path"], "only/a/path.jpg");
  EXPECT_FALSE(doc["materials"][2]["pbrMetallicRoughness"].contains("baseColorTexture"));
  EXPECT_FALSE(doc["materials"][3].contains("extras"));

  // What was a PNG already goes byte for byte.
  scene.Materials()[0]->SetImage(back, 0);
  ASSERT_TRUE(Write("beside.gltf")) << told.fault;
  EXPECT_TRUE(directory.Files().contains("beside_1.png"));
  EXPECT_EQ(ReadBytes(directory.File("beside_0.png")), png);
}

TEST_F(gltfwrite, AFaultLeavesTheOldFile) {
  cmesh* mesh = AddTriangle("broken");
  directory.Write("old.glb", "old");
  const auto expectFault = [&](const std::string& fault) {
    EXPECT_FALSE(Write("old.glb"));
    EXPECT_EQ(told.fault, fault);
    EXPECT_EQ(directory.Files(), (std::map<std::string, std::string>{{"old.glb", "old"}}));
  };
  mesh->SetVert(1, MakePt3(0.0F, NAN, 0.0F));
  expectFault("node \"broken\": vertex 1 is not a finite number");
  mesh->SetVert(1, MakePt3(0.0F, 3.0F, 0.0F));
  core::SetKeys(*mesh, {KeyAt(0, MakePt3(std::numeric_limits<float>::infinity(), 0.0F, 0.0F))});
  expectFault("node \"broken\": its transform is not finite at frame 0");
  core::SetKeys(*mesh, {});
  EXPECT_FALSE(gltf::WriteScene(scene, directory.Path() + "/none/a.glb", {}, told));
  EXPECT_EQ(told.fault, "a.glb: the folder " + directory.Path() + "/none does not exist");
}

}  // namespace
