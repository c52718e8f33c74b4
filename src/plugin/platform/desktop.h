#pragma once

// The desktop that a run talks to its user through. The module brings one of its own: windows on
// Windows; elsewhere one without a display that answers every dialog with its defaults and writes
// messages to standard error. A host that wants to answer itself defines MarrowDesktop below, and
// nothing else; a host that does not define it needs to know nothing of this file.

#include "plugin/host/api.h"
#include "plugin/platform/dialogs.h"

struct cfiledialog {
  const char* title;
  const char* filterName;     // as "RTCW-ET MDX Files (*.mdx)"; "All Files (*.*)" follows it
  const char* filterPattern;  // as "*.mdx"
  const char* defaultExtension;
  unsigned flags;
  const char* model;  // path of the file that the run was started with
};

// Flags of a file dialog.
inline constexpr unsigned kFileDialogOverwritePrompt = 0x2;
inline constexpr unsigned kFileDialogHideReadOnly = 0x4;
inline constexpr unsigned kFileDialogPathMustExist = 0x800;
inline constexpr unsigned kFileDialogFileMustExist = 0x1000;

// Style of a message: an OK button and the exclamation icon.
inline constexpr int kMessageExclamation = 48;

// Raised with every change of this file or of plugin/platform/dialogs.h.
inline constexpr int kDesktopVersion = 1;

// All calls come on the thread of the run. An exception may pass through the module as that of
// MyAssertFailedLine does; a std::exception makes the run a failed one.
class cdesktop {
 public:
  // Runs a dialog to its end; owner is the window of Interface::GetMainHWND. The result is that of
  // End; 0 when the window was closed otherwise.
  virtual int RunDialog(const cdialogtemplate& dialog, cdialogrules& rules, void* owner) = 0;
  // Opens a dialog that stays beside the run, shown and painted. Null: the run goes on without it.
  // Whoever opened it closes it.
  virtual cdialogwindow* OpenDialog(const cdialogtemplate& dialog, cdialogrules& rules,
                                    const char* caption) = 0;
  virtual void CloseDialog(cdialogwindow* window) = 0;
  // The active window is the owner.
  virtual void ShowMessage(const char* text, const char* caption, int style) = 0;
  // 1: a path was chosen and stands in the buffer, which has `size` bytes. 0: cancelled.
  virtual int AskOpenFile(const cfiledialog& dialog, char* path, int size) = 0;
  virtual int AskSaveFile(const cfiledialog& dialog, char* path, int size) = 0;
  // Shows the wait cursor and gives the one that showed before.
  virtual void* SetWaitCursor() = 0;
  virtual void RestoreCursor(void* cursor) = 0;
  virtual void SleepMilliseconds(int milliseconds) = 0;

 protected:
  ~cdesktop() = default;
};

// Defined by a host that answers dialogs itself. The module looks the plain name up whenever it
// needs a desktop: on Windows in the library that Core's operations come from, elsewhere among
// the libraries of the process; in a program that holds host and module together, the linker
// finds it.
//   version  the module's kDesktopVersion; a host that was built with another one gives null
//   own      the module's own desktop, to which the host may pass on what it does not answer;
//            lives as long as the module
// The result stays the host's and serves until the module asks again. Null: the module's own.
extern "C" CORE_API cdesktop* MarrowDesktop(int version, cdesktop* own);
