#include "core/timeline.h"

#include <sstream>

#include "testscene.h"

namespace {

class Timeline : public scenetest {
 protected:
  // Of a bone with keys at frames 0 to numKeys - 1, and the range that an import of them sets:
  // name, start + frames, loop / rate.
  std::string Clips(int numKeys, const char* notes) {
    cbone* bone = AddBone("bone", nullptr, {});
    bone->anim.SetNumKeys(numKeys, 0);
    for (int i = 0; i < numKeys; ++i) {
      ckey key = KeyAt(i, {});
      bone->anim.SetKeyAt(i, key, 0);
    }
    scene.animEnd = numKeys;
    EXPECT_EQ(core::LastKeyFrame(scene), numKeys - 1) << "the range ends one behind";
    scene.notes = notes;
    std::ostringstream text;
    for (const core::clip& clip : core::NamedClips(scene)) {
      text << clip.name << ' ' << clip.start << '+' << clip.frames << ' ' << clip.loop << '/'
           << clip.rate << ", ";
    }
    return text.str();
  }
};

TEST_F(Timeline, NotesGiveFirstFramesOrLastKeys) {
  EXPECT_EQ(Clips(30,
                  "RTCW-ET anim sequences: 3\nidle 9 10 0 20\nempty 10 0 0 20\n"
                  "walk 29 20 0 20\n"),
            "idle 0+10 0/20, walk 10+20 0/20, ")
      << "some sequences were taken";
  EXPECT_EQ(Clips(200,
                  "RTCW Model: a.mds\nNum Frames:   200\n\nRTCW anim sequences: 3\n"
                  "idle 0 10 0 20\nwalk 50 20 18 15\nlate 190 30 0 20\n"),
            "idle 0+10 0/20, walk 50+20 18/15, late 190+10 0/20, ")
      << "all frames were taken";
  scene.animEnd = 12;
  EXPECT_EQ(core::LastKeyFrame(scene), 12);
}

TEST_F(Timeline, ALaterImportAndTheScenesOwnClipsGoFirst) {
  EXPECT_EQ(Clips(40, "RTCW anim sequences: 1\nold 0 10 0 20\nRTCW anim sequences: 0\n"), "");
  scene.clips = {{"walk", 3, 20}, {"run", 23, 7}};
  EXPECT_EQ(Clips(40, "RTCW anim sequences: 1\nwalk 10 20 18 15\n"),
            "walk 3+20 18/15, run 23+7 0/0, ");
}

}  // namespace
