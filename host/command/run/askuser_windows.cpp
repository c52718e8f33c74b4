#include <cstring>

#include "command/run/askuser.h"
#include "core/picker.h"
#include "desktop/passing.h"
#include "desktop/win32picker.h"

namespace command {

namespace {

// The module's own windows, watched for what the command wants to know.
class askingdesktop final : public desktop::passingdesktop {
 public:
  explicit askingdesktop(const askhooks& hooks) : hooks_(hooks) {
    core::SetPicker(desktop::PickFromWindow);
  }

  void ShowMessage(const char* text, const char* caption, int style) override {
    hooks_.onMessage();
    passingdesktop::ShowMessage(text, caption, style);
  }
  int AskOpenFile(const cfiledialog& dialog, char* path, int size) override {
    const int chosen = passingdesktop::AskOpenFile(dialog, path, size);
    if (chosen != 0) {
      hooks_.onOpenFile(path);
    }
    return chosen;
  }
  int AskSaveFile(const cfiledialog& dialog, char* path, int size) override {
    if (passingdesktop::AskSaveFile(dialog, path, size) == 0) {
      return 0;
    }
    const std::string written = hooks_.onSaveFile(path);
    if (written.empty() || written.size() >= static_cast<std::size_t>(size)) {
      return 0;
    }
    std::memcpy(path, written.c_str(), written.size() + 1);
    return 1;
  }

 private:
  askhooks hooks_;
};

}  // namespace

bool CanAsk() { return true; }

std::unique_ptr<desktop::idesktop> DesktopThatAsks(const askhooks& hooks) {
  return std::make_unique<askingdesktop>(hooks);
}

}  // namespace command
