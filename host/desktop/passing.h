#pragma once

#include "desktop/desktop.h"

namespace desktop {

// Leaves everything to the module's own desktop; a class of it changes what it wants to.
class passingdesktop : public idesktop {
 public:
  int RunDialog(const cdialogtemplate& dialog, cdialogrules& rules, void* owner) override {
    return ModuleDesktop().RunDialog(dialog, rules, owner);
  }
  cdialogwindow* OpenDialog(const cdialogtemplate& dialog, cdialogrules& rules,
                            const char* caption) override {
    return ModuleDesktop().OpenDialog(dialog, rules, caption);
  }
  void CloseDialog(cdialogwindow* window) override { ModuleDesktop().CloseDialog(window); }
  void ShowMessage(const char* text, const char* caption, int style) override {
    ModuleDesktop().ShowMessage(text, caption, style);
  }
  int AskOpenFile(const cfiledialog& dialog, char* path, int size) override {
    return ModuleDesktop().AskOpenFile(dialog, path, size);
  }
  int AskSaveFile(const cfiledialog& dialog, char* path, int size) override {
    return ModuleDesktop().AskSaveFile(dialog, path, size);
  }
  void* SetWaitCursor() override { return ModuleDesktop().SetWaitCursor(); }
  void RestoreCursor(void* cursor) override { ModuleDesktop().RestoreCursor(cursor); }
  void SleepMilliseconds(int milliseconds) override {
    ModuleDesktop().SleepMilliseconds(milliseconds);
  }
};

}  // namespace desktop
