#include "command/run/askuser.h"
#include "core/picker.h"
#include "desktop/win32.h"

namespace command {

namespace {

class askingdesktop final : public desktop::win32desktop {
 public:
  explicit askingdesktop(const askhooks& hooks) : hooks_(hooks) {
    core::SetPicker(desktop::PickFromWindow);
  }

  void ShowMessage(const char* text, const char* caption, int style) override {
    hooks_.onMessage();
    win32desktop::ShowMessage(text, caption, style);
  }
  bool AskOpenFile(const cfiledialog& dialog, std::string& path) override {
    const bool chosen = win32desktop::AskOpenFile(dialog, path);
    if (chosen) {
      hooks_.onOpenFile(path);
    }
    return chosen;
  }
  bool AskSaveFile(const cfiledialog& dialog, std::string& path) override {
    return win32desktop::AskSaveFile(dialog, path) && hooks_.onSaveFile(path);
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
