#pragma once

#include "core/picker.h"
#include "desktop/desktop.h"

namespace desktop {

// The desktop of Windows: the module's dialogs from its resources, message boxes, the system's
// file dialogs and cursors. It belongs to the thread that makes it.
class CORE_API win32desktop : public idesktop {
 public:
  win32desktop();

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
};

// A window with the nodes' names, in their order, and a button with the given text. For
// core::SetPicker.
CORE_API cnode* PickFromWindow(const std::vector<cnode*>& candidates, const char* title,
                               const char* button);

}  // namespace desktop
