#pragma once

#include <windows.h>

#include <commctrl.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "desktop/passing.h"

inline constexpr int kMessageText = 0xFFFF;  // the text of a message box
inline constexpr int kFileName = 1148;       // the field of the system's file dialogs

// An open dialog of the test's thread from the user's side, worked with by window messages from
// another thread: the operations of desktop::scriptedwindow on a real window.
class realwindow {
 public:
  explicit realwindow(HWND window) : window_(window) {}

  bool Type(int id, const std::string& text);
  bool Click(int id);
  bool PickRow(int id, int row) { return PickRows(id, {row}); }
  bool PickRows(int id, const std::vector<int>& rows);
  void DoubleClickRow(int id, int row);
  void Ok() { Click(IDOK); }
  void Cancel() { Click(IDCANCEL); }
  void SetText(int id, const char* text);

  HWND Handle() const { return window_; }
  std::string Caption() const;
  std::string Text(int id) const;
  bool Checked(int id) const;
  bool Enabled(int id) const;
  std::vector<std::string> Rows(int id) const;
  bool HasFocus() const;
  bool Ended() const { return IsWindowVisible(window_) == FALSE; }

 private:
  HWND Control(int id) const { return GetDlgItem(window_, id); }
  // With the left button, and the Control key held or not. Gives the place.
  static LPARAM ClickRow(HWND list, int row, WPARAM keys);

  HWND window_;
};

// Waits until the thread shows a dialog that takes input and is none of `known`. Null after ten
// seconds.
HWND WaitForDialog(DWORD thread, const std::vector<HWND>& known = {});

// The desktop of Windows with a user: everything is shown, and another thread plays who sits
// before it. The fields are those of desktop::scripteddesktop.
class realdesktop final : public desktop::passingdesktop {
 public:
  // The dialogs are resources of the test's program too.
  realdesktop();

  std::map<int, std::function<void(realwindow&)>> scripts;
  // Text and caption as the box showed them.
  std::function<void(const std::string& text, const std::string& caption, int style)> onMessage;
  // What the user types into the system's file dialog; false for Cancel.
  using fileanswer = std::function<bool(const cfiledialog&, std::string& path)>;
  fileanswer onOpenFile;
  fileanswer onSaveFile;
  // Before the wait at the end of a run, with the progress window open.
  std::function<void(int milliseconds)> onSleep;

  int RunDialog(const cdialogtemplate& dialog, cdialogrules& rules, void* owner) override;
  void ShowMessage(const char* text, const char* caption, int style) override;
  int AskOpenFile(const cfiledialog& dialog, char* path, int size) override {
    return AskFile(dialog, onOpenFile,
                   [&] { return passingdesktop::AskOpenFile(dialog, path, size); });
  }
  int AskSaveFile(const cfiledialog& dialog, char* path, int size) override {
    return AskFile(dialog, onSaveFile,
                   [&] { return passingdesktop::AskSaveFile(dialog, path, size); });
  }
  void SleepMilliseconds(int milliseconds) override;

 private:
  static int AskFile(const cfiledialog& dialog, const fileanswer& answer,
                     const std::function<int()>& ask);
};

// Leaves the thread's windows without the focus, which a closing dialog may or may not give to the
// next one by itself.
void LoseFocus();

// Runs `shows`, which opens a dialog and returns when it is closed, with `user` before it.
void WithUser(const std::function<void(realwindow&)>& user, const std::function<void()>& shows);
