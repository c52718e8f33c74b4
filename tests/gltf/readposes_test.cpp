#include "gltf/readtest.h"

namespace {

using nlohmann::json;

using ReadPoses = readtest;

TEST_F(ReadPoses, ScaleThatChangesIsLeftOutAndSaid) {
  gltfmodel model;
  const int root = model.Node({{"name", "root"}, {"extras", {{"bone", true}}}});
  const int arm =
      model.Node({{"name", "arm"}, {"extras", {{"bone", true}}}, {"scale", {2, 2, 2}}}, root);
  model.Node({{"mesh", model.Triangle()}}, arm);
  model.Channel(0, arm, "scale", {0, 1}, {2, 2, 2, 5, 5, 5});
  model.Channel(0, arm, "translation", {0, 1}, {0, 0, 0, 3, 0, 0});
  ASSERT_TRUE(Read(model)) << told.fault;
  ASSERT_EQ(told.warnings.size(), 1U);
  EXPECT_NE(told.warnings[0].find("scale that changes during a clip is left out: arm"),
            std::string::npos);
  for (const ckey& key : Node("arm")->State().track->State().keys) {
    EXPECT_EQ((key.scale - MakePt3(1, 1, 1)).Length(), 0.0F);
  }
  ExpectBox(scene.Nodes().back(), 20, {0, 3, 0}, {0, 5, 2});  // as large as at rest
}

// What a clip says of the scale at all its frames holds, whatever stands at rest.
TEST_F(ReadPoses, TheScaleOfAllClipsIsNoChange) {
  gltfmodel model;
  const int root = model.Node({{"extras", {{"bone", true}}}});
  model.Node({{"mesh", model.Triangle()}}, root);
  model.Channel(0, root, "scale", {0, 1}, {4, 4, 4, 4, 4, 4});
  ASSERT_TRUE(Read(model)) << told.fault;
  EXPECT_TRUE(told.warnings.empty());
  ExpectBox(scene.Nodes().back(), 0, {0, 0, 0}, {0, 4, 4});
}

TEST_F(ReadPoses, ClipsLieOneBehindTheOther) {
  gltfmodel model;
  const int a = model.Node({{"name", "a"}, {"translation", {1, 0, 0}}});
  const int b = model.Node({{"name", "b"}, {"translation", {0, 0, 0}}});
  model.Node({{"name", "still"}});
  model.Channel(0, a, "translation", {0, 0.5F}, {1, 0, 0, 2, 0, 0});
  model.Channel(1, b, "rotation", {0, 0.26F}, {0, 0, 0, 1, 0, 0, 0, -1});
  model.Channel(1, b, "translation", {0.05F, 0.1F}, {0, 0, 0, 7, 0, 0}, "STEP");
  model.Channel(2, a, "translation", {0}, {9, 0, 0});
  model.doc["animations"][0]["name"] = "walk";
  how.fps = 10.0;
  ASSERT_TRUE(Read(model)) << told.fault;
  std::string clips;
  for (const core::clip& each : scene.clips) {
    clips += each.name + " " + std::to_string(each.start) + "+" + std::to_string(each.frames) + " ";
  }
  EXPECT_EQ(clips, "walk 0+6 animation_1 6+4 animation_2 10+1 ");
  EXPECT_EQ(scene.animStart, 0);
  EXPECT_EQ(scene.animEnd, 10);
  EXPECT_EQ(scene.ticksPerFrame, 100);
  const auto y = [&](const char* name, int frame) { return Node(name)->GetPosAtFrame(frame).y; };
  EXPECT_NEAR(y("a", 5), 2.0F, 1e-6F);
  EXPECT_NEAR(y("a", 6), 1.0F, 0.0F);  // at rest in the clip that does not move it
  EXPECT_NEAR(y("a", 10), 9.0F, 0.0F);
  EXPECT_NEAR(y("b", 6), 0.0F, 0.0F);
  EXPECT_NEAR(y("b", 7), 7.0F, 0.0F);  // the step at a frame's own time is taken there
  EXPECT_EQ(Node("still")->State().track->State().keys.size(), 1U);
  const std::vector<ckey>& keys = Node("b")->State().track->State().keys;
  ASSERT_EQ(keys.size(), 11U);
  for (const ckey& key : keys) {
    EXPECT_GT(key.rot.w, 0.9F);  // no change of sign between neighbours
  }
}

}  // namespace
