#pragma once

// What the user's options answer to the dialogs of a run. Options are typed and clicked into the
// dialogs' controls, so the dialogs' own rules decide what comes of them.

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "desktop/scripted.h"

namespace command {

// `ask` leaves a run's dialogs to the user, in windows: only where CanAsk is true.
struct exportchoices {
  bool ask = false;
  std::optional<int> start;  // else as the dialog shows them
  std::optional<int> end;
  std::string origin;     // name of the origin object, empty for none
  bool modelsDir = true;  // "Use 'models' as the directory for filenames"
  std::string mdx;        // the mdx file beside an mdm; empty: none
  std::int64_t mostFrames = std::numeric_limits<std::int64_t>::max();  // that the file may have
  std::string limitedBy;                                               // "the format holds"
  std::string framesOf;  // what those frames are of, " of 25 bones", where that decides
};

// Frames of a file, both ends included; of all without numbers.
struct framestretch {
  std::string name;
  int first = 0;
  int last = -1;

  bool IsAll() const { return last < first; }
};

struct importchoices {
  bool ask = false;
  std::optional<int> frame;         // of an mdc; the others are then left out
  framestretch frames;              // of an mdc
  std::vector<framestretch> clips;  // of an mdc, with names; none: one clip of all frames
  bool shapes = true;               // of an mdc: whether surfaces change over the frames
  bool morphNormals = true;         // of an mdc: whether the others' normals come, too
  std::string skin;                 // a listed .skin file; empty: the first
  bool noSkin = false;
  std::vector<std::string> sequences;  // by name; none: all
  bool firstFrame = false;             // no sequence
  bool meshes = true;
  bool bones = true;
  bool materials = true;
  bool animation = true;
  std::string boneMap;                   // path of the file with names for bones; empty: none
  bool images = true;                    // whether the materials' images are looked for
  std::string mdx;                       // of an mdm
  std::vector<std::string> gameFolders;  // to look for images in, later ones first
};

struct framerange {
  std::int64_t start = 0;
  std::int64_t frames = 0;
};

class exportanswers {
 public:
  explicit exportanswers(const exportchoices& choices) : choices_(choices) {}

  bool Ask() const { return choices_.ask; }
  // The desktop's dialogs are answered from here on; this object outlives that.
  void Attach(desktop::scripteddesktop& desk);

  // Why the dialog was cancelled: a range that the format cannot hold. Empty when it was not.
  const std::string& Refusal() const { return refusal_; }
  // What the accepted dialog asked for; none before, and none where the user was asked.
  const std::optional<framerange>& Range() const { return range_; }
  // What was made of frames that the scene does not have, a text each.
  const std::vector<std::string>& Adjusted() const { return adjusted_; }

 private:
  struct controls {
    int start;
    int end;
    int origin;
  };
  void Answer(desktop::scriptedwindow& window, const controls& ids);
  // last: the scene's, as the dialog shows it.
  void NoteAdjusted(int last);

  exportchoices choices_;
  std::optional<framerange> range_;
  std::vector<std::string> adjusted_;
  std::string refusal_;
};

class importanswers {
 public:
  explicit importanswers(const importchoices& choices) : choices_(choices) {}

  bool Ask() const { return choices_.ask; }
  void Attach(desktop::scripteddesktop& desk);

  // Why the dialog was cancelled: a choice that it does not offer. Empty when it was not.
  const std::string& Refusal() const { return refusal_; }
  // What the dialogs changed or could not offer.
  int NumSequences() const { return numSequences_; }
  // The .skin file that the dialog selects; empty for none.
  const std::string& Skin() const { return skin_; }
  // The frame that was too high, clamped to the model's last.
  std::optional<int> ClampedTo() const { return clampedTo_; }
  // The frame of an mdc that was asked for, once it was.
  std::optional<int> Frame() const { return frame_; }

 private:
  void AnswerMdc(desktop::scriptedwindow& window);
  void AnswerSkeletal(desktop::scriptedwindow& window);
  bool PickSkin(desktop::scriptedwindow& window);
  bool PickSequences(desktop::scriptedwindow& window);

  importchoices choices_;
  std::string refusal_;
  int numSequences_ = 0;
  std::string skin_;
  std::optional<int> clampedTo_;
  std::optional<int> frame_;
};

}  // namespace command
