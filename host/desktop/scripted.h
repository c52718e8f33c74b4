#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "desktop/desktop.h"

namespace desktop {

// An open dialog in memory. The rules see it as a cdialogwindow; whoever plays the user works
// with the operations below, which behave as a real window does: a disabled control takes no
// input, an edit field for digits drops all other characters.
class CORE_API scriptedwindow final : public cdialogwindow {
 public:
  scriptedwindow(const cdialogtemplate& dialog, cdialogrules& rules);

  // The user's side. False when the control does not take it.
  bool Type(int id, const std::string& text);
  bool Click(int id);
  bool PickRow(int id, int row);
  bool PickRows(int id, const std::vector<int>& rows);
  void Ok() { Click(kDialogOk); }
  void Cancel() { Click(kDialogCancel); }

  const cdialogtemplate& Template() const { return *template_; }
  const std::string& Caption() const { return caption_; }
  std::string Text(int id) const;
  bool Checked(int id) const;
  bool Enabled(int id) const;
  std::vector<std::string> Rows(int id) const;
  int BarHigh() const { return barHigh_; }
  int BarPosition() const { return barPosition_; }
  bool HasFocus() const { return focus_; }
  bool Ended() const { return ended_; }
  int Result() const { return result_; }

  // The rules' side.
  void SetCaption(const char* text) override;
  void SetText(int id, const char* text) override;
  int GetLine(int id, char* buffer, int size) override;
  void SetCheck(int id, bool checked) override;
  bool GetCheck(int id) override { return Checked(id); }
  void Enable(int id, bool enabled) override;
  void AddRow(int id, const char* text) override;
  void SelectRow(int id, int row) override;
  int SelectedRow(int id) override;
  void SelectRows(int id, int first, int last, bool selected) override;
  bool IsRowSelected(int id, int row) override;
  void SetBarRange(int id, int high) override;
  void SetBarPosition(int id, int position) override;
  void SetFocus() override { focus_ = true; }
  void End(int result) override;

  // Called whenever the progress bar or the text of a control changes.
  std::function<void(const scriptedwindow&)> onChange;

 private:
  struct listrow {
    std::string text;
    bool selected = false;
  };
  struct control {
    ccontrolkind kind;
    std::string text;
    bool checked = false;
    bool enabled = true;
    std::vector<listrow> rows;
  };

  control* Find(int id);
  const control* Find(int id) const;
  void Changed();

  const cdialogtemplate* template_;
  cdialogrules* rules_;
  std::string caption_;
  std::map<int, control> controls_;
  int barHigh_ = 0;
  int barPosition_ = 0;
  bool focus_ = false;
  bool ended_ = false;
  int result_ = 0;
};

// A desktop without windows: dialogs are played by scripts, everything else goes to listeners.
class CORE_API scripteddesktop final : public idesktop {
 public:
  // The user at a dialog, by the dialog's id. A dialog without a script gets OK; one that its
  // script leaves open counts as closed without a result.
  std::map<int, std::function<void(scriptedwindow&)>> scripts;
  std::function<void(const std::string& text, const std::string& caption, int style)> onMessage;
  // The progress window after each change.
  std::function<void(const scriptedwindow&)> onProgress;
  // Answers of the file dialogs: true with the path for a choice.
  std::function<bool(const cfiledialog&, std::string& path)> onOpenFile;
  std::function<bool(const cfiledialog&, std::string& path)> onSaveFile;
  // What a run asked to wait; nothing here sleeps.
  std::function<void(int milliseconds)> onSleep;
  std::function<void(bool waiting)> onCursor;

  int RunDialog(const cdialogtemplate& dialog, cdialogrules& rules, void* owner) override;
  cdialogwindow* OpenDialog(const cdialogtemplate& dialog, cdialogrules& rules,
                            const char* caption) override;
  void CloseDialog(cdialogwindow* window) override;
  void ShowMessage(const char* text, const char* caption, int style) override;
  bool AskOpenFile(const cfiledialog& dialog, std::string& path) override;
  bool AskSaveFile(const cfiledialog& dialog, std::string& path) override;
  void* SetWaitCursor() override;
  void RestoreCursor(void* cursor) override;
  void SleepMilliseconds(int milliseconds) override;

  // Windows that OpenDialog gave and CloseDialog has not taken back.
  std::size_t OpenWindows() const { return open_.size(); }

 private:
  std::vector<std::unique_ptr<scriptedwindow>> open_;
  bool waiting_ = false;
};

}  // namespace desktop
