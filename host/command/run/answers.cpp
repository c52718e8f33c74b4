#include "command/run/answers.h"

#include <algorithm>
#include <cstdlib>

#include "command/files/paths.h"
#include "command/wording.h"

namespace command {

namespace {

// The module's dialogs and their controls.
constexpr int kSkeletalImportDialog = 101;
constexpr int kSequences = 1000;
constexpr int kMeshes = 1001;
constexpr int kBones = 1002;
constexpr int kMaterials = 1003;
constexpr int kAnimation = 1004;
constexpr int kAllSequences = 1005;
constexpr int kSkins = 1007;

constexpr int kMdcImportDialog = 102;
constexpr int kNumFrames = 1008;
constexpr int kFrame = 1009;

constexpr int kMdcMdsExportDialog = 103;
constexpr int kUseModels = 1012;

constexpr int kMdmMdxExportDialog = 105;
constexpr int kExportMdx = 1023;

// Sets the field's text as a program does, which may write a minus into a field for digits; the
// dialog's rules then have the last word.
void Fill(desktop::scriptedwindow& window, int id, const std::optional<int>& number) {
  if (number && window.Enabled(id)) {
    window.SetText(id, std::to_string(*number).c_str());
  }
}

void SetBox(desktop::scriptedwindow& window, int id, bool checked) {
  if (window.Checked(id) != checked) {
    window.Click(id);
  }
}

int Number(const desktop::scriptedwindow& window, int id) {
  return std::max(std::atoi(window.Text(id).c_str()), 0);  // NOLINT(cert-err34-c): as the dialog
}

// A row of the list of sequences begins with the name, which is one word.
std::string SequenceOf(const std::string& row) { return row.substr(0, row.find(' ')); }

std::string ListOf(const std::string& what, const std::vector<std::string>& names) {
  return names.empty() ? "; the model has no " + what : "; there are: " + Joined(names);
}

}  // namespace

void exportanswers::Attach(desktop::scripteddesktop& desk) {
  desk.scripts[kMdcMdsExportDialog] = [this](desktop::scriptedwindow& window) {
    if (window.Enabled(kUseModels)) {
      SetBox(window, kUseModels, choices_.modelsDir);
    }
    Answer(window, {1010, 1011, 1015});
  };
  desk.scripts[kMdmMdxExportDialog] = [this](desktop::scriptedwindow& window) {
    Answer(window, {1020, 1021, 1018});
  };
  desk.onSaveFile = [this](const cfiledialog& /*dialog*/, std::string& path) {
    path = choices_.mdx;
    return !path.empty();
  };
}

void exportanswers::Answer(desktop::scriptedwindow& window, const controls& ids) {
  const int last = Number(window, ids.end);
  Fill(window, ids.start, choices_.start);
  Fill(window, ids.end, choices_.end);
  window.Type(ids.origin, choices_.origin);
  // Last, since without an mdx the fields are grey. In an export of an mdx alone the box is.
  if (window.Enabled(kExportMdx)) {
    SetBox(window, kExportMdx, !choices_.mdx.empty());
  }
  const std::int64_t start = Number(window, ids.start);
  const std::int64_t end = Number(window, ids.end);
  const std::int64_t frames = end - start + 1;
  if (frames > choices_.mostFrames) {
    refusal_ = choices_.limitedBy + " " + std::to_string(choices_.mostFrames) + " frames" +
               choices_.framesOf + ", not " + std::to_string(frames);
    window.Cancel();
    return;
  }
  window.Ok();
  if (!window.Ended()) {
    window.Cancel();
    return;
  }
  range_ = framerange{start, frames};
  if (window.Enabled(ids.start)) {
    NoteAdjusted(last);
  }
}

void exportanswers::NoteAdjusted(int last) {
  const std::int64_t end = range_->start + range_->frames - 1;
  const std::string first = std::to_string(range_->start);
  const std::string exported =
      range_->frames == 1 ? "frame " + first + " is exported"
                          : "frames " + first + " to " + std::to_string(end) + " are exported";
  if (choices_.start.value_or(0) < 0) {
    adjusted_.push_back("--start " + std::to_string(*choices_.start) +
                        " is before frame 0: " + exported);
  }
  if (choices_.end.value_or(0) < 0) {
    adjusted_.push_back("--end " + std::to_string(*choices_.end) +
                        " is before frame 0: " + exported);
  }
  if (choices_.end && end > last) {
    adjusted_.push_back("--end " + std::to_string(end) + " is beyond the scene's last frame " +
                        std::to_string(last) + ": " + exported +
                        ", those beyond it with the pose that it has");
  }
}

void importanswers::Attach(desktop::scripteddesktop& desk) {
  desk.scripts[kMdcImportDialog] = [this](desktop::scriptedwindow& window) { AnswerMdc(window); };
  desk.scripts[kSkeletalImportDialog] = [this](desktop::scriptedwindow& window) {
    AnswerSkeletal(window);
  };
  desk.onOpenFile = [this](const cfiledialog& /*dialog*/, std::string& path) {
    path = choices_.mdx;
    return !path.empty();
  };
}

void importanswers::AnswerMdc(desktop::scriptedwindow& window) {
  Fill(window, kFrame, choices_.frame);
  const int last = Number(window, kNumFrames) - 1;
  frame_ = std::clamp(choices_.frame.value_or(0), 0, std::max(last, 0));
  if (choices_.frame && (*choices_.frame > last || *choices_.frame < 0)) {
    clampedTo_ = std::clamp(*choices_.frame, 0, last);
  }
  window.Ok();
}

void importanswers::AnswerSkeletal(desktop::scriptedwindow& window) {
  // Choices in the lists come first: boxes may grey them.
  if (!PickSkin(window) || !PickSequences(window)) {
    window.Cancel();
    return;
  }
  if (const int row = window.SelectedRow(kSkins); row >= 0 && choices_.materials) {
    skin_ = window.Rows(kSkins)[static_cast<std::size_t>(row)];
  }
  SetBox(window, kMeshes, choices_.meshes);
  SetBox(window, kMaterials, choices_.materials);
  SetBox(window, kAnimation, choices_.animation);
  SetBox(window, kBones, choices_.bones);
  window.Ok();
}

bool importanswers::PickSkin(desktop::scriptedwindow& window) {
  if (choices_.noSkin) {
    window.PickRow(kSkins, -1);
  }
  if (choices_.skin.empty()) {
    return true;
  }
  const std::vector<std::string> rows = window.Rows(kSkins);
  for (const std::string& name : {choices_.skin, choices_.skin + ".skin"}) {
    const auto found = std::ranges::find(rows, name);
    if (found != rows.end()) {
      return window.PickRow(kSkins, static_cast<int>(found - rows.begin()));
    }
  }
  refusal_ =
      "there is no skin file " + choices_.skin + " beside the model" + ListOf("skin files", rows);
  return false;
}

bool importanswers::PickSequences(desktop::scriptedwindow& window) {
  std::vector<std::string> names;
  for (const std::string& row : window.Rows(kSequences)) {
    names.push_back(SequenceOf(row));
  }
  numSequences_ = static_cast<int>(names.size());
  if (choices_.firstFrame) {
    return true;
  }
  if (choices_.sequences.empty()) {
    window.Click(kAllSequences);
    return true;
  }
  std::vector<int> rows;
  for (const std::string& wanted : choices_.sequences) {
    const std::size_t before = rows.size();
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (names[i] == wanted) {
        rows.push_back(static_cast<int>(i));
      }
    }
    if (rows.size() == before) {
      refusal_ = "there is no sequence " + wanted + ListOf("sequences", names);
      return false;
    }
  }
  return window.PickRows(kSequences, rows);
}

}  // namespace command
