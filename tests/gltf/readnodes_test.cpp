#include <tuple>

#include "gltf/readtest.h"

namespace {

using nlohmann::json;
using outline = std::vector<std::string>;

using ReadNodes = readtest;

TEST_F(ReadNodes, BecomeBonesMeshesAndEmpties) {
  gltfmodel model;
  const int root = model.Node({{"name", "root"}});
  const int hip = model.Node({{"name", "hip"}}, root);
  const int between = model.Node({{"name", "between"}}, hip);
  const int knee = model.Node({{"name", "knee"}}, between);
  model.Node({{"name", "hat"}, {"mesh", model.Triangle()}}, knee);
  model.Node({{"name", "TAG_weapon"}}, root);
  model.Node({{"name", "tag_view"}, {"camera", 0}}, root);
  model.Node({{"name", "kept"}, {"extras", {{"bone", true}}}}, root);
  model.Node({{"name", "plain"}, {"extras", "of any kind"}}, root);
  model.Node({{"mesh", model.Triangle()}}, root);
  model.Node(json::object(), root);
  model.doc["skins"] = {{{"joints", {hip, knee}}}};
  model.doc["scenes"].push_back({{"nodes", {model.doc["nodes"].size()}}});
  model.doc["nodes"].push_back({{"name", "elsewhere"}});  // in a scene that is not shown
  ASSERT_TRUE(Read(model)) << told.fault;
  EXPECT_EQ(Outline(), (outline{"empty root", "bone hip < root", "bone between < hip",
                                "bone knee < between", "skin hat", "bone TAG_weapon < root",
                                "empty tag_view < root", "bone kept < root", "empty plain < root",
                                "mesh node_9 < root", "empty node_10 < root"}));
  EXPECT_EQ(told.warnings, (outline{"nodes outside the default scene are left out: elsewhere",
                                    "cameras are left out: tag_view"}));
}

TEST_F(ReadNodes, AMeshOnAJointFollowsWhatMovesInBetween) {
  gltfmodel model;
  const int joint = model.Node({{"name", "joint"}, {"extras", {{"bone", true}}}});
  const int still = model.Node({{"name", "still"}, {"translation", {1, 0, 0}}}, joint);
  const int moving = model.Node({{"name", "moving"}}, still);
  model.Node({{"name", "wheel"}, {"mesh", model.Triangle()}}, moving);
  model.Node({{"name", "idle"}}, joint);
  model.Channel(0, moving, "translation", {0, 1}, {0, 0, 0, 0, 4, 0});
  model.Channel(0, 4, "translation", {0, 1}, {0, 0, 0, 0, 4, 0});
  ASSERT_TRUE(Read(model)) << told.fault;
  EXPECT_EQ(Outline(), (outline{"bone joint", "bone still < joint", "bone moving < still",
                                "skin wheel", "empty idle < joint"}));
  ExpectBox(Node("wheel"), 20, {0, 1, 4}, {0, 2, 5});
}

TEST_F(ReadNodes, PrimitivesAreSurfacesWithNamesOfTheirOwn) {
  gltfmodel model;
  const int mesh = model.Triangle();
  json& parts = model.doc["meshes"][0]["primitives"];
  parts.push_back(parts[0]);
  parts.push_back({{"attributes", parts[0]["attributes"]}, {"mode", 1}});
  parts.push_back(parts[0]);
  const int first = model.Node({{"name", "a"}, {"mesh", mesh}, {"scale", {2, 2, 2}}});
  model.Node({{"name", "child"}}, first);
  model.Node({{"name", "a_1"}, {"mesh", mesh}});
  model.Channel(0, first, "translation", {0, 1}, {0, 0, 0, 8, 0, 0});
  ASSERT_TRUE(Read(model)) << told.fault;
  EXPECT_EQ(Outline(), (outline{"mesh a", "mesh a_2", "mesh a_3", "empty child < a", "mesh a_1",
                                "mesh a_1_1", "mesh a_1_2"}));
  EXPECT_EQ(told.warnings, (outline{"points and lines are left out: mesh 0, primitive 2"}));
  EXPECT_NEAR(Node("a_3")->GetPosAtFrame(20).y, 8.0F, 1e-6F);
  EXPECT_NEAR(MeshOf(Node("a")).verts[1].y, 2.0F, 1e-6F);
}

TEST_F(ReadNodes, AParentThatStandsBehindItsChildComesBeforeIt) {
  gltfmodel model;
  model.doc["nodes"] = json::parse(R"([{"name": "leaf"}, {"name": "other"},
      {"name": "top", "children": [3]}, {"name": "mid", "children": [0]}])");
  model.doc["scenes"][0]["nodes"] = {1, 2};
  ASSERT_TRUE(Read(model)) << told.fault;
  EXPECT_EQ(Outline(),
            (outline{"empty top", "empty mid < top", "empty leaf < mid", "empty other"}));
  // Without scenes all roots are shown.
  model.doc.erase("scenes");
  core::scene all;
  ASSERT_TRUE(gltf::ReadScene(files.Write("all.glb", model.Binary()), how, all, told));
  EXPECT_EQ(all.Nodes().size(), 4U);
}

TEST_F(ReadNodes, ASkinIgnoresItsNodeAndItsChildrenDoNot) {
  gltfmodel model;
  const int joint = model.Node({{"name", "joint"}, {"translation", {0, 5, 0}}});
  const int mesh = model.Mesh(
      {{"attributes",
        {{"POSITION", model.Floats("VEC3", {0, 0, 0, 1, 0, 0, 0, 0, 1})},
         {"JOINTS_0", model.Bytes("VEC4", {0, 9, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0})},
         {"WEIGHTS_0", model.Accessor("VEC4", 5121, {254, 0, 0, 0, 255, 0, 0, 0, 0, 0, 0, 0})}}}});
  model.Accessors().back()["normalized"] = true;
  const int body =
      model.Node({{"name", "body"}, {"mesh", mesh}, {"skin", 0}, {"translation", {7, 0, 0}}});
  model.Node({{"name", "child"}}, body);
  model.doc["skins"] = {{{"joints", {joint}}}};
  ASSERT_TRUE(Read(model)) << told.fault;
  EXPECT_EQ(Outline(), (outline{"bone joint", "empty body", "skin body", "empty child < body"}));
  EXPECT_EQ(Node("child")->GetPosAtFrame(0).y, 7.0F);
  EXPECT_EQ(told.warnings, (outline{"vertices of skins without a weight keep still: 1"}));
  // 254/255 is a whole weight that its writer rounded.
  ExpectBox(scene.Nodes()[2], 0, {0, 0, 5}, {1, 1, 5});
}

TEST_F(ReadNodes, WhatIsLeftOutIsSaidOnceAKind) {
  gltfmodel model;
  const int places = model.Floats("VEC3", {0, 0, 0, 1, 0, 0, 0, 1, 0});
  model.Mesh({{"attributes",
               {{"POSITION", places},
                {"COLOR_0", places},
                {"TEXCOORD_0", places},
                {"TEXCOORD_1", model.Floats("VEC2", {0, 0, 1, 0, 0, 1})}}},
              {"material", 0},
              {"targets", json::array({{{"POSITION", places}}})}});
  model.Mesh({{"attributes", {{"NORMAL", places}}}});
  model.doc["materials"] = json::parse(R"([{"name": "m", "pbrMetallicRoughness":
      {"baseColorTexture": {"index": 0, "texCoord": 1}}}])");
  model.doc["textures"] = json::array({json::object(), json::object()});
  for (int i = 0; i < 3; ++i) {
    model.Node({{"mesh", i % 2}});
    model.Node({{"extensions", {{"KHR_lights_punctual", {{"light", 0}}}}}});
  }
  model.Channel(0, 0, "translation", {0}, {0, 0, 0});
  model.doc["animations"][0]["channels"].push_back(
      {{"sampler", 1}, {"target", {{"node", 0}, {"path", "weights"}}}});
  model.doc["animations"][0]["samplers"].push_back(
      {{"input", model.Floats("SCALAR", {0, 1})}, {"output", model.Floats("SCALAR", {0, 1})}});
  ASSERT_TRUE(Read(model)) << told.fault;
  EXPECT_EQ(told.warnings,
            (outline{"material m: its texture has an image of an unknown format",
                     "lights are left out: 3, the first is node_1",
                     "primitives without vertices are left out: mesh 1, primitive 0",
                     "vertex colours are left out: mesh 0, primitive 0",
                     "texture coordinates beyond those of the colour image are left out: mesh 0, "
                     "primitive 0",
                     "textures that are no material's colour are left out: 1",
                     "morph targets that change during a clip are left out: node_0"}));
}

TEST_F(ReadNodes, ScaleThatChangesIsLeftOutAndSaid) {
  gltfmodel model;
  const int root = model.Node({{"name", "root"}, {"extras", {{"bone", true}}}});
  const int arm =
      model.Node({{"name", "arm"}, {"extras", {{"bone", true}}}, {"scale", {2, 2, 2}}}, root);
  model.Node({{"mesh", model.Triangle()}}, arm);
  model.Channel(0, arm, "scale", {0, 1}, {2, 2, 2, 5, 5, 5});
  model.Channel(0, arm, "translation", {0, 1}, {0, 0, 0, 3, 0, 0});
  ASSERT_TRUE(Read(model)) << told.fault;
  ASSERT_EQ(told.warnings.size(), 1U);
  EXPECT_NE(told.warnings[0].find("animated scale is left out: arm"), std::string::npos);
  for (const ckey& key : Node("arm")->State().track->State().keys) {
    EXPECT_EQ((key.scale - MakePt3(1, 1, 1)).Length(), 0.0F);
  }
  ExpectBox(scene.Nodes().back(), 20, {0, 3, 0}, {0, 5, 2});  // as large as at rest
}

// What a clip says of the scale at all its frames holds, whatever stands at rest.
TEST_F(ReadNodes, TheScaleOfAllClipsIsNoChange) {
  gltfmodel model;
  const int root = model.Node({{"extras", {{"bone", true}}}});
  const int arm = model.Node({{"extras", {{"bone", true}}}}, root);
  model.Node({{"mesh", model.Triangle()}}, root);
  model.Channel(0, root, "scale", {0, 1}, {4, 4, 4, 4, 4, 4});
  model.Channel(0, arm, "scale", {0, 1}, {1, 2, 3, 1, 2, 3});
  model.Channel(0, arm, "rotation", {0, 1}, {0, 0, 0, 1, 0, 0.6F, 0, 0.8F});
  ASSERT_TRUE(Read(model)) << told.fault;
  EXPECT_TRUE(told.warnings.empty());
  ExpectBox(scene.Nodes().back(), 0, {0, 0, 0}, {0, 4, 4});
}

TEST_F(ReadNodes, StepsAreTakenAtAFramesOwnTimeAndRotationsKeepTheirSign) {
  gltfmodel model;
  const int node = model.Node({{"name", "node"}});
  model.Channel(0, node, "rotation", {0, 0.26F}, {0, 0, 0, 1, 0, 0, 0, -1});
  // A tenth of a second as a sum of single precision has it.
  model.Channel(0, node, "translation", {0.05F, 0.10000001F}, {0, 0, 0, 7, 0, 0}, "STEP");
  how.fps = 10.0;
  ASSERT_TRUE(Read(model)) << told.fault;
  EXPECT_EQ(scene.ticksPerFrame, 100);
  const std::vector<ckey>& keys = Node("node")->State().track->State().keys;
  ASSERT_EQ(keys.size(), 4U);
  EXPECT_EQ(keys[1].pos.y, 7.0F);
  for (const ckey& key : keys) {
    EXPECT_GT(key.rot.w, 0.9F);
  }
}

// Channels that share their times but not how they go between them.
TEST_F(ReadNodes, SharedTimesAreReadAsEachChannelSays) {
  gltfmodel model;
  const int first = model.Node({{"name", "first"}});
  const int second = model.Node({{"name", "second"}});
  const int times = model.Floats("SCALAR", {0, 0.1F, 0.3F});
  const int values = model.Floats("VEC3", {0, 0, 0, 4, 0, 0, 8, 0, 0});
  json samplers;
  for (const char* mode : {"LINEAR", "STEP"}) {
    samplers.push_back({{"input", times}, {"output", values}, {"interpolation", mode}});
  }
  json channels;
  for (const auto& [node, path, sampler] : std::vector<std::tuple<int, const char*, int>>{
           {first, "translation", 0}, {second, "translation", 1}}) {
    channels.push_back({{"sampler", sampler}, {"target", {{"node", node}, {"path", path}}}});
  }
  model.doc["animations"].push_back({{"samplers", samplers}, {"channels", channels}});
  how.fps = 10.0;
  ASSERT_TRUE(Read(model)) << told.fault;
  const auto along = [this](const char* name) {
    std::vector<float> places;
    for (const ckey& key : Node(name)->State().track->State().keys) {
      places.push_back(key.pos.y);
    }
    return places;
  };
  EXPECT_EQ(along("first"), (std::vector<float>{0, 4, 6, 8}));
  EXPECT_EQ(along("second"), (std::vector<float>{0, 4, 4, 8}));
}

}  // namespace
