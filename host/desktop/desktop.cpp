#include "desktop/desktop.h"

#include <cstring>

namespace desktop {

namespace {

idesktop* currentDesktop = nullptr;

using askfile = bool (idesktop::*)(const cfiledialog&, std::string&);

int AskFile(askfile ask, const cfiledialog& dialog, char* path, int size) {
  std::string chosen;
  if (currentDesktop == nullptr || !(currentDesktop->*ask)(dialog, chosen) ||
      chosen.size() >= static_cast<std::size_t>(size)) {
    return 0;
  }
  std::memcpy(path, chosen.c_str(), chosen.size() + 1);
  return 1;
}

}  // namespace

void MakeCurrent(idesktop* current) { currentDesktop = current; }

int RunDialog(const cdialogtemplate& dialog, cdialogrules& rules, void* owner) {
  return currentDesktop != nullptr ? currentDesktop->RunDialog(dialog, rules, owner) : 0;
}

cdialogwindow* OpenDialog(const cdialogtemplate& dialog, cdialogrules& rules, const char* caption) {
  return currentDesktop != nullptr ? currentDesktop->OpenDialog(dialog, rules, caption) : nullptr;
}

void CloseDialog(cdialogwindow* window) {
  if (currentDesktop != nullptr) {
    currentDesktop->CloseDialog(window);
  }
}

void ShowMessage(const char* text, const char* caption, int style) {
  if (currentDesktop != nullptr) {
    currentDesktop->ShowMessage(text, caption, style);
  }
}

int AskOpenFile(const cfiledialog& dialog, char* path, int size) {
  return AskFile(&idesktop::AskOpenFile, dialog, path, size);
}

int AskSaveFile(const cfiledialog& dialog, char* path, int size) {
  return AskFile(&idesktop::AskSaveFile, dialog, path, size);
}

void* SetWaitCursor() {
  return currentDesktop != nullptr ? currentDesktop->SetWaitCursor() : nullptr;
}

void RestoreCursor(void* cursor) {
  if (currentDesktop != nullptr) {
    currentDesktop->RestoreCursor(cursor);
  }
}

void SleepMilliseconds(int milliseconds) {
  if (currentDesktop != nullptr) {
    currentDesktop->SleepMilliseconds(milliseconds);
  }
}

}  // namespace desktop
