// What the command does to a skeleton that a file could not hold as it is.

#include "command/skeleton/helperbones.h"

#include <cmath>

#include "command/skeleton/skeletonlosses.h"
#include "core/state.h"
#include "skeletal/exporttest.h"

namespace {

using command::filekind;
using names = std::vector<std::string>;

using HelperBones = exporttest;

names BonesOf(const std::vector<command::boneloss>& losses) {
  names bones;
  for (const command::boneloss& loss : losses) {
    bones.push_back(loss.bone);
  }
  return bones;
}

cbone* AddGrowing(const char* name, cnode* parent) {
  return AddBone(name, parent, {KeyAt(0, {1, 0, 5}), KeyAt(9, {1, 0, 9})});
}

// They move with the torso or the legs as their bones do, and none is taken for the spine.
TEST_F(HelperBones, NamesAreFreeAndTellTheShareOfTheTorso) {
  cbone* spine = AddGrowing("Bip01 Spine", AddStill("Bip01", nullptr, {}));
  AddGrowing("TAG_weapon", AddGrowing("Bip01 Spine2", spine));
  AddGrowing("Head", nullptr);
  AddStill("Bip++ TAG_weapon", spine, {0, 0, 2});
  const command::helperbones made = command::AddHelperBones(*scene, filekind::Mds);
  EXPECT_EQ(BonesOf(made.hung), names{"Head"});
  EXPECT_EQ(BonesOf(made.stretching), (names{"Bip01 Spine", "Bip01 Spine2", "TAG_weapon", "Head"}));
  const auto file = Mds();
  std::string shares;  // in hundredths
  for (int b = 0; b < file->numBones; ++b) {
    shares += Text(file->bones[b].name) + " " +
              std::to_string(std::lround(100.0F * file->bones[b].torsoWeight)) + ", ";
  }
  EXPECT_EQ(shares,
            "Bip01 0, Bip++ Spin 0, Bip01 Spine 0, Bip++ Spine2 55, Bip01 Spine2 55, Bip1  "
            "TAG_weapon 100, "
            "TAG_weapon 100, Bip++ Head 100, Head 100, Bip++ TAG_weapon 100, ");
  EXPECT_EQ(Text(file->bones[file->header->torsoParent].name), "Bip01 Spine");
}

TEST_F(HelperBones, AKneeDoesNotJump) {
  cbone* top = AddStill("top", nullptr, {});
  // Once around, then through the parent, along an axis that the side might be taken from.
  AddBone("bone", top,
          {KeyAt(0, {4, 0, 1}), KeyAt(10, {0, 5, 0}), KeyAt(20, {-6, 0, 0}), KeyAt(30, {0, 0, 6}),
           KeyAt(40, {0, 0, -6})});
  command::AddHelperBones(*scene, filekind::Mdx);
  cnode* const helper = scene->Nodes().back();
  for (int frame = 1; frame <= 40; ++frame) {
    const cpoint3 now = helper->GetPosAtFrame(frame);
    EXPECT_NEAR(now.Length(), 3.3F, 1e-4F) << frame;
    EXPECT_LT((now - helper->GetPosAtFrame(frame - 1)).Length(), 1.6F) << frame;
  }
}

TEST_F(HelperBones, WhatNeedsNothingIsLeftAlone) {
  cbone* top = AddBone("top", nullptr, {KeyAt(0, {}), KeyAt(9, {5, 0, 0})});
  AddBone("turning", top, {KeyAt(0, {3, 4, 0}), KeyAt(1, {0, 5, 0})});
  cbone* tag = AddBone("tag_a", top, {KeyAt(0, {1, 0, 0}), KeyAt(9, {2, 0, 0})});
  AddStill("below", tag, {0, 1, 0});
  EXPECT_EQ(BonesOf(command::AddHelperBones(*scene, filekind::Mdm).stretching), names{"below"});
  // Only an mds has the tag as a bone; the other formats see a top bone below it.
  EXPECT_EQ(scene->Nodes()[3]->GetParent()->GetParent(), top);
  EXPECT_EQ(scene->Nodes()[2]->GetParent(), top);
  EXPECT_TRUE(command::AddHelperBones(*scene, filekind::Mdm).stretching.empty());

  // A top bone that is none for the exporters cannot have children.
  core::SetFlags(*scene->Nodes()[0], kNodeFlagNoBone);
  AddStill("second", nullptr, {0, 9, 0});
  const std::size_t count = scene->Nodes().size();
  const command::helperbones made = command::AddHelperBones(*scene, filekind::Mdm);
  EXPECT_TRUE(made.hung.empty());
  EXPECT_EQ(scene->Nodes().back()->GetParent(), nullptr);
  EXPECT_EQ(scene->Nodes().size(), count);
}

TEST_F(HelperBones, WithoutThemStretchedBonesFurtherTopsAndMovingTagsAreTold) {
  cbone* top = AddStill("top", nullptr, {9, 0, 0});
  AddStill("still", top, {1, 2, 2});
  AddBone("near", top, {KeyAt(0, {4, 0, 0}), KeyAt(4, {3, 0, 0})});
  AddBone("far", top, {KeyAt(0, {4, 0, 0}), KeyAt(4, {0, 12, 0})});
  AddBone("apart", top, {KeyAt(0, {4, 0, 0}), KeyAt(4, {4.06F, 0, 0})});
  AddBone("tag_a", top, {KeyAt(0, {2, 0, 0}), KeyAt(4, {0, 2, 0})});
  const auto losses = [&](filekind kind, int frames) {
    return command::SkeletonLosses(*scene, kind, {0, frames});
  };
  EXPECT_EQ(losses(filekind::Mdx, 5),
            names{"bones keep the distance from their parent that they have in frame 0: far by up "
                  "to 8, near by up to 1, apart by up to 0.06"});
  EXPECT_EQ(losses(filekind::Mdm, 5),
            names{"tags keep their position on the parent from frame 0: tag_a by up to "
                  "2.83"});
  AddStill("second", nullptr, {9, 5, 0});
  EXPECT_EQ(
      losses(filekind::Mdx, 1),
      names{"bones without a parent all stand where the first of them does: second by up to 5"});
}

}  // namespace
