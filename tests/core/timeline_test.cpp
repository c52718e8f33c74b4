#include "core/timeline.h"

#include "testscene.h"

namespace {

class Timeline : public scenetest {
 protected:
  // A bone with keys at frames 0 to count - 1, and the range that an import of them sets.
  void Keys(int count) {
    cbone* bone = AddBone("bone", nullptr, {});
    bone->anim.SetNumKeys(count, 0);
    for (int i = 0; i < count; ++i) {
      ckey key = KeyAt(i, {});
      bone->anim.SetKeyAt(i, key, 0);
    }
    scene.animEnd = count;
  }

  std::string Clips() const {
    std::string text;
    for (const core::clip& clip : core::NamedClips(scene)) {
      text +=
          clip.name + " " + std::to_string(clip.start) + "+" + std::to_string(clip.frames) + " ";
    }
    return text;
  }
};

TEST_F(Timeline, LastKeyFrameIsWithinTheRange) {
  EXPECT_EQ(core::LastKeyFrame(scene), 0);
  Keys(30);
  EXPECT_EQ(core::LastKeyFrame(scene), 29) << "an import's range ends one behind its last key";
  scene.animEnd = 12;
  EXPECT_EQ(core::LastKeyFrame(scene), 12);
}

TEST_F(Timeline, NotesGiveFirstFramesWhenAllFramesWereTaken) {
  Keys(200);
  scene.notes =
      "RTCW Model: a.mds\nNum Frames:   200\n\nRTCW anim sequences: 3\n"
      "idle 0 10 0 20\nwalk 50 20 0 20\nlate 190 30 0 20\n";
  EXPECT_EQ(Clips(), "idle 0+10 walk 50+20 late 190+10 ");
}

TEST_F(Timeline, NotesGiveLastKeysWhenSomeSequencesWereTaken) {
  Keys(30);
  scene.notes = "RTCW-ET anim sequences: 3\nidle 9 10 0 20\nempty 10 0 0 20\nwalk 29 20 0 20\n";
  EXPECT_EQ(Clips(), "idle 0+10 walk 10+20 ");
}

TEST_F(Timeline, ALaterImportAndTheScenesOwnClipsGoFirst) {
  Keys(40);
  scene.notes = "RTCW anim sequences: 1\nold 0 10 0 20\nRTCW anim sequences: 0\n";
  EXPECT_EQ(Clips(), "");
  scene.clips = {{"own clip", 5, 7}};
  EXPECT_EQ(Clips(), "own clip 5+7 ");
}

TEST_F(Timeline, TheNotesKeepLoopAndRate) {
  Keys(30);
  scene.notes = "RTCW anim sequences: 2\nidle 0 10 0 20\nwalk 10 20 18 15\n";
  const std::vector<core::clip> noted = core::NamedClips(scene);
  ASSERT_EQ(noted.size(), 2U);
  EXPECT_EQ(noted[1].loop, 18);
  EXPECT_EQ(noted[1].rate, 15);
  scene.clips = {{"walk", 3, 20}, {"run", 23, 7}};
  const std::vector<core::clip> own = core::NamedClips(scene);
  EXPECT_EQ(own[0].start, 3);
  EXPECT_EQ(own[0].loop, 18);
  EXPECT_EQ(own[0].rate, 15);
  EXPECT_EQ(own[1].rate, 0);
}

}  // namespace
