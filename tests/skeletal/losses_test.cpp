// What the command says of bones that a skeletal file cannot follow.

#include "command/skeleton/skeletonlosses.h"

#include "skeletal/exporttest.h"

namespace {

using SkeletonLosses = exporttest;
using command::filekind;
using lines = std::vector<std::string>;

TEST_F(SkeletonLosses, StretchedBonesFurtherTopsAndMovingTags) {
  cbone* top = AddStill("top", nullptr, {9.0F, 0.0F, 0.0F});
  AddStill("still", top, {1.0F, 2.0F, 2.0F});
  AddBone("near", top, {KeyAt(0, {4.0F, 0.0F, 0.0F}), KeyAt(4, {3.0F, 0.0F, 0.0F})});
  AddBone("far", top, {KeyAt(0, {4.0F, 0.0F, 0.0F}), KeyAt(4, {0.0F, 12.0F, 0.0F})});
  AddBone("tag_a", top, {KeyAt(0, {2.0F, 0.0F, 0.0F}), KeyAt(4, {0.0F, 2.0F, 0.0F})});
  const auto losses = [&](filekind kind, int start, int frames) {
    return command::SkeletonLosses(*scene, kind, {start, frames});
  };
  EXPECT_EQ(losses(filekind::Mdx, 0, 5),
            lines{"bones keep the distance from their parent that they have in frame 0: far by up "
                  "to 8, near by up to 1"});
  EXPECT_EQ(losses(filekind::Mdm, 0, 5),
            lines{"tags keep the place on their parent that they have in frame 0: tag_a by up to "
                  "2.83"});
  EXPECT_EQ(losses(filekind::Mdx, 0, 1), lines{});
  AddStill("second", nullptr, {9.0F, 5.0F, 0.0F});
  EXPECT_EQ(
      losses(filekind::Mdx, 0, 1),
      lines{"bones without a parent all stand where the first of them does: second by up to 5"});
}

}  // namespace
