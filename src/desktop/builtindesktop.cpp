// The module's desktop where it has no windows: a run takes what its dialogs offer.

#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include "binary/directory.h"
#include "desktop/currentdesktop.h"
#include "desktop/memorywindow.h"

namespace {

// The file beside the model with the dialog's extension instead of the model's.
std::string BesideModel(const cfiledialog& dialog) {
  std::string path = dialog.model;
  const std::size_t name = path.find_last_of("/\\") + 1;
  if (const std::size_t stop = path.rfind('.'); stop != std::string::npos && stop > name) {
    path.resize(stop);
  }
  return path + '.' + dialog.defaultExtension;
}

int Choose(const std::string& chosen, char* path, int size) {
  if (chosen.size() >= static_cast<std::size_t>(size)) {
    return 0;
  }
  std::memcpy(path, chosen.c_str(), chosen.size() + 1);
  return 1;
}

class builtindesktop final : public cdesktop {
 public:
  int RunDialog(const cdialogtemplate& dialog, cdialogrules& rules, void* /*owner*/) override {
    memorywindow window(dialog, rules);
    rules.OnCommand(window, kDialogOk);
    return window.Result();
  }

  // Nobody would see it.
  cdialogwindow* OpenDialog(const cdialogtemplate& /*dialog*/, cdialogrules& /*rules*/,
                            const char* /*caption*/) override {
    return nullptr;
  }
  void CloseDialog(cdialogwindow* /*window*/) override {}

  void ShowMessage(const char* text, const char* caption, int /*style*/) override {
    std::fprintf(stderr, "%s: %s\n", caption, text);
  }

  int AskOpenFile(const cfiledialog& dialog, char* path, int size) override {
    const std::string file = BesideModel(dialog);
    return EntryAt(file) == diskentry::File ? Choose(file, path, size) : 0;
  }
  int AskSaveFile(const cfiledialog& dialog, char* path, int size) override {
    return Choose(BesideModel(dialog), path, size);
  }

  void* SetWaitCursor() override { return nullptr; }
  void RestoreCursor(void* /*cursor*/) override {}

  void SleepMilliseconds(int milliseconds) override {
    const timespec time{milliseconds / 1000, milliseconds % 1000 * 1'000'000L};
    nanosleep(&time, nullptr);
  }
};

}  // namespace

cdesktop& OwnDesktop() {
  static builtindesktop own;
  return own;
}
