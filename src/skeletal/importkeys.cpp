// Keys of the bones, from the frames that the user's choice of sequences asks for.

#include <algorithm>
#include <limits>
#include <new>

#include "skeletal/importrun.h"

namespace {

// The frames of the file that a sequence asks for and the file has.
struct framestretch {
  const animseq* sequence;
  int first;
  int count;
};

framestretch CutToFile(const animseq& sequence, std::int64_t limit) {
  const std::int64_t end = std::int64_t{sequence.startframe} + sequence.numframes;
  const std::int64_t from = std::clamp<std::int64_t>(sequence.startframe, 0, limit);
  const std::int64_t to = std::clamp<std::int64_t>(end, from, limit);
  return {&sequence, static_cast<int>(from), static_cast<int>(to - from)};
}

// A file without bones may count any number of frames and has none: as many as the bar can tell
// apart are shown.
int FramesToShow(const skelrig& rig, int frames) {
  constexpr int kMostPositions = 65535;
  return rig.numBones > 0 ? frames : std::min(frames, kMostPositions);
}

void AddSequenceNote(const animseq& sequence, int first, int count) {
  char text[1024];
  const int length = std::snprintf(text, sizeof text, "%s %d %d %d %d\n", sequence.name, first,
                                   count, sequence.param3, sequence.param4);
  Interface::AddNotes(text, length);
}

}  // namespace

void cskelimport::CreateKeys(const importsteps& steps) {
  const int count = importAnimation_ != 0 ? NumSelected() : 0;
  if (importAnimation_ != 0) {
    char text[128];
    const int length =
        std::snprintf(text, sizeof text, "%s anim sequences: %d\n", format_->game, count);
    Interface::AddNotes(text, length);
  }
  if (count == 0) {
    SetSingleKeys(steps);
  } else if (count == animsequence_.Count()) {
    SetAllKeys(steps);
  } else {
    SetSequenceKeys(steps);
  }
  for (const cimpbone& pose : pBone_) {
    pose.bone->UpdateAnim();
  }
}

void cskelimport::SetSingleKeys(const importsteps& steps) {
  steps.calcBoneFrame(0);
  for (std::size_t i = 0; i < pBone_.size(); ++i) {
    pBone_[i].bone->anim.SetKey(BoneKey(*rig_, pBone_, i, 0));
  }
}

// Whatever the sequences cover.
void cskelimport::SetAllKeys(const importsteps& steps) {
  const int numFrames = rig_->numFrames;
  progress_->SetRange(numFrames);
  progress_->SetPosition(0);
  for (int frame = 0; frame < FramesToShow(*rig_, numFrames); ++frame) {
    progress_->SetText("Calculating Frame: %d of %d\n", frame, numFrames);
    progress_->SetPosition(frame);
    steps.calcBoneFrame(static_cast<unsigned long>(frame));
    SetBoneKeys(frame, frame == 0 ? numFrames : 0);
  }
  for (int i = 0; i < animsequence_.Count(); ++i) {
    AddSequenceNote(animsequence_[i], animsequence_[i].startframe, animsequence_[i].numframes);
  }
  animEnd_ = numFrames;
}

// The selected sequences one behind the other. A sequence's note names its last key: together
// with the number of frames that is where it lies on the time line.
void cskelimport::SetSequenceKeys(const importsteps& steps) {
  std::vector<framestretch> stretches;
  std::int64_t sum = 0;
  for (int i = 0; i < animsequence_.Count(); ++i) {
    if (animsequence_[i].selected) {
      stretches.push_back(CutToFile(animsequence_[i], rig_->numFrames));
      sum += stretches.back().count;
    }
  }
  if (sum > std::numeric_limits<int>::max()) {
    throw std::bad_alloc();
  }
  for (const cimpbone& pose : pBone_) {
    pose.bone->anim.SetNumKeys(static_cast<int>(sum), 0);
  }
  int key = 0;
  for (const framestretch& stretch : stretches) {
    progress_->SetRange(stretch.count);
    progress_->SetPosition(0);
    for (int f = 0; f < FramesToShow(*rig_, stretch.count); ++f) {
      progress_->SetText("Calculating Sequence [%s] Frame: %d of %d\n", stretch.sequence->name, f,
                         stretch.count);
      progress_->SetPosition(f);
      steps.calcBoneFrame(static_cast<unsigned long>(stretch.first) +
                          static_cast<unsigned long>(f));
      SetBoneKeys(key + f, 0);
    }
    key += stretch.count;
    AddSequenceNote(*stretch.sequence, stretch.count > 0 ? key - 1 : key, stretch.count);
  }
  animEnd_ = key;
}

void cskelimport::SetBoneKeys(int frame, int room) {
  for (std::size_t i = 0; i < pBone_.size(); ++i) {
    canim& track = pBone_[i].bone->anim;
    if (room > 0) {
      track.SetNumKeys(room, 0);
    }
    ckey key = BoneKey(*rig_, pBone_, i, frame);
    track.SetKeyAt(frame, key, 0);
  }
}
