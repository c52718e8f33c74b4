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
  EXPECT_NE(told.warnings[0].find("animated scale is left out: arm"), std::string::npos);
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

TEST_F(ReadPoses, StepsAreTakenAtAFramesOwnTimeAndRotationsKeepTheirSign) {
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

}  // namespace
