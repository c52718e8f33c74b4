#pragma once

#include <string>

#include "plugin/platform/dialogs.h"
#include "plugin/platform/services.h"

namespace desktop {

// One implementation of what plugin/platform declares. The free functions there go to the current
// one; without one, dialogs count as closed and nothing is shown.
class CORE_API idesktop {
 public:
  virtual ~idesktop() = default;

  virtual int RunDialog(const cdialogtemplate& dialog, cdialogrules& rules, void* owner) = 0;
  virtual cdialogwindow* OpenDialog(const cdialogtemplate& dialog, cdialogrules& rules,
                                    const char* caption) = 0;
  virtual void CloseDialog(cdialogwindow* window) = 0;
  virtual void ShowMessage(const char* text, const char* caption, int style) = 0;
  // True: a path was chosen.
  virtual bool AskOpenFile(const cfiledialog& dialog, std::string& path) = 0;
  virtual bool AskSaveFile(const cfiledialog& dialog, std::string& path) = 0;
  virtual void* SetWaitCursor() = 0;
  virtual void RestoreCursor(void* cursor) = 0;
  virtual void SleepMilliseconds(int milliseconds) = 0;
};

// The desktop stays the caller's and outlives its being current; null for none.
CORE_API void MakeCurrent(idesktop* current);

}  // namespace desktop
