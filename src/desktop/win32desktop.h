#pragma once

#include "plugin/platform/desktop.h"

// The desktop of Windows: the module's dialogs from its resources, message boxes, the system's
// file dialogs and cursors. It belongs to the thread that makes it.
class win32desktop : public cdesktop {
 public:
  win32desktop();

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

 protected:
  ~win32desktop() = default;
};
