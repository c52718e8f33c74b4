// What the command does to a skeleton that a file could not hold as it is.

#include "command/skeleton/helperbones.h"

#include <map>

#include "core/state.h"
#include "skeletal/exporttest.h"

namespace {

using command::filekind;
using names = std::vector<std::string>;

class HelperBones : public exporttest {
 protected:
  static constexpr int kLast = 40;

  // World transforms of the nodes that are there, at every frame.
  std::map<cnode*, std::vector<cmatrix4>> Poses() {
    std::map<cnode*, std::vector<cmatrix4>> poses;
    for (cnode* node : scene->Nodes()) {
      for (int frame = 0; frame <= kLast; ++frame) {
        poses[node].push_back(node->GetTMAtFrame(frame, kWholeTransform));
      }
    }
    return poses;
  }
};

float Largest(const cmatrix4& a, const cmatrix4& b) {
  float largest = 0.0F;
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 4; ++j) {
      largest = std::max(largest, std::abs(a.m[i][j] - b.m[i][j]));
    }
  }
  return largest;
}

TEST_F(HelperBones, TheFileHasEveryBoneWhereTheSceneHasIt) {
  cbone* top =
      AddBone("Bip01", nullptr,
              {KeyAt(0, {1.0F, 2.0F, 30.0F}), KeyAt(kLast, {9.0F, 0.0F, 30.0F}, {20, 300, 10})});
  // Stays, comes, passes through its parent, and goes on beyond the frames before.
  cbone* spine = AddBone("Bip01 Spine", top,
                         {KeyAt(5, {0.0F, 0.0F, 8.0F}), KeyAt(20, {0.0F, 0.0F, -8.0F}, {0, 90, 0}),
                          KeyAt(kLast, {12.0F, 0.0F, -8.0F})});
  cbone* chest =
      AddBone("Bip01 Spine2", spine, {KeyAt(0, {1.0F, 0.0F, 5.0F}), KeyAt(10, {1.0F, 0.0F, 9.0F})});
  AddBone("TAG_weapon", chest, {KeyAt(0, {0.0F, 3.0F, 0.0F}), KeyAt(30, {0.0F, 7.0F, 1.0F})});
  AddBone("bone", chest,
          {KeyAt(0, {6.0F, 8.0F, 0.0F}), KeyAt(9, {0.0F, 8.0F, 6.0F}),
           KeyAt(10, {6.0F, 8.0F, 0.0F}, {30, 0, 0})});
  // Not in the file's order, and further top bones: one on its own, one always with the first.
  cbone* late = AddStill("x Hand", nullptr, {0.0F, 5.0F, 0.0F});
  AddBone("Head", nullptr,
          {KeyAt(2, {40.0F, 0.0F, 0.0F}, {0, 10, 0}), KeyAt(30, {0.0F, 40.0F, 0.0F})});
  AddBone("same", nullptr, {KeyAt(0, {1.0F, 2.0F, 30.0F}), KeyAt(kLast, {9.0F, 0.0F, 30.0F})});
  AddBone("Bip++ TAG_weapon", late, {KeyAt(0, {0.0F, 0.0F, 2.0F})});

  const auto before = Poses();
  const command::helperbones made = command::AddHelperBones(*scene, filekind::Mds);
  EXPECT_EQ(made.hung, (names{"x Hand", "Head"}));
  EXPECT_EQ(made.stretching,
            (names{"Bip01 Spine", "Bip01 Spine2", "TAG_weapon", "bone", "x Hand", "Head"}));
  const auto after = Poses();
  for (const auto& [node, poses] : before) {
    for (std::size_t frame = 0; frame < poses.size(); ++frame) {
      EXPECT_LT(Largest(poses[frame], after.at(node)[frame]), 2e-5F) << node->GetName() << frame;
    }
  }

  SetRange(3, kLast);
  const auto file = Mds();
  const skelrig& rig = *file;
  std::map<std::string, int> numbers;
  for (int b = 0; b < rig.numBones; ++b) {
    EXPECT_TRUE(numbers.try_emplace(Text(rig.bones[b].name), b).second);
  }
  for (std::size_t frame = 0; frame <= kLast - 3; ++frame) {
    const std::vector<placedbone> world = Decode(rig, frame);
    for (const auto& [node, poses] : before) {
      const placedbone& bone = world[static_cast<std::size_t>(numbers.at(node->GetName()))];
      for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(bone.position[i], poses[frame + 3].m[3][i], 0.02) << node->GetName() << frame;
      }
    }
  }
  // A helper moves with its torso or legs as its bone does, and none is taken for the spine.
  EXPECT_EQ(file->header->torsoParent, numbers.at("Bip01 Spine"));
  const std::pair<const char*, const char*> pairs[] = {
      {"Bip++ Spine2", "Bip01 Spine2"}, {"Bip++ Head", "Head"}, {"Bip1  TAG_weapon", "TAG_weapon"}};
  for (const auto& [helper, bone] : pairs) {
    const float weight = rig.bones[numbers.at(helper)].torsoWeight;
    EXPECT_GT(weight, 0.5F);
    EXPECT_EQ(weight, rig.bones[numbers.at(bone)].torsoWeight);
  }
}

TEST_F(HelperBones, AKneeDoesNotJump) {
  cbone* top = AddStill("top", nullptr, {});
  // Once around, then through the parent, along an axis that the side might be taken from.
  AddBone(
      "bone", top,
      {KeyAt(0, {4.0F, 0.0F, 1.0F}), KeyAt(10, {0.0F, 5.0F, 0.0F}), KeyAt(20, {-6.0F, 0.0F, 0.0F}),
       KeyAt(30, {0.0F, 0.0F, 6.0F}), KeyAt(kLast, {0.0F, 0.0F, -6.0F})});
  command::AddHelperBones(*scene, filekind::Mdx);
  cnode* const helper = scene->Nodes().back();
  for (int frame = 1; frame <= kLast; ++frame) {
    const cpoint3 now = helper->GetPosAtFrame(frame);
    EXPECT_NEAR(now.Length(), 3.3F, 1e-4F) << frame;
    EXPECT_LT((now - helper->GetPosAtFrame(frame - 1)).Length(), 1.6F) << frame;
  }
}

TEST_F(HelperBones, WhatNeedsNothingIsLeftAlone) {
  cbone* top = AddBone("top", nullptr, {KeyAt(0, {}), KeyAt(9, {5.0F, 0.0F, 0.0F})});
  AddBone("turning", top, {KeyAt(0, {3.0F, 4.0F, 0.0F}), KeyAt(1, {0.0F, 5.0F, 0.0F})});
  cbone* tag = AddBone("tag_a", top, {KeyAt(0, {1.0F, 0.0F, 0.0F}), KeyAt(9, {2.0F, 0.0F, 0.0F})});
  AddStill("below", tag, {0.0F, 1.0F, 0.0F});
  EXPECT_EQ(command::AddHelperBones(*scene, filekind::Mdm).stretching, names{"below"});
  // Only an mds has the tag as a bone; the other formats see a top bone below it.
  EXPECT_EQ(scene->Nodes()[3]->GetParent()->GetParent(), top);
  EXPECT_EQ(scene->Nodes()[2]->GetParent(), top);
  EXPECT_TRUE(command::AddHelperBones(*scene, filekind::Mdm).stretching.empty());

  // A top bone that is none for the exporters cannot have children.
  scene->Nodes()[0]->State().flags = kNodeFlagNoBone;
  AddStill("second", nullptr, {0.0F, 9.0F, 0.0F});
  const std::size_t count = scene->Nodes().size();
  const command::helperbones made = command::AddHelperBones(*scene, filekind::Mdm);
  EXPECT_TRUE(made.hung.empty());
  EXPECT_EQ(scene->Nodes().back()->GetParent(), nullptr);
  EXPECT_EQ(scene->Nodes().size(), count);
}

}  // namespace
