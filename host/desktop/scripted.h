#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "desktop/desktop.h"
#include "desktop/memorywindow.h"

namespace desktop {

// An open dialog in memory with a user before it, whose operations behave as a real window does: a
// disabled control takes no input, an edit field for digits drops all other characters.
class CORE_API scriptedwindow final : public memorywindow {
 public:
  using memorywindow::memorywindow;

  // False when the control does not take it.
  bool Type(int id, const std::string& text);
  bool Click(int id);
  bool PickRow(int id, int row);
  bool PickRows(int id, const std::vector<int>& rows);
  void Ok() { Click(kDialogOk); }
  void Cancel() { Click(kDialogCancel); }

  // Called whenever the progress bar or the text of a control changes.
  std::function<void(const scriptedwindow&)> onChange;

 private:
  void Changed() override;
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
  int AskOpenFile(const cfiledialog& dialog, char* path, int size) override;
  int AskSaveFile(const cfiledialog& dialog, char* path, int size) override;
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
