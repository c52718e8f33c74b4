#include <algorithm>
#include <utility>

#include "desktop/scripted.h"

namespace desktop {

int scripteddesktop::RunDialog(const cdialogtemplate& dialog, cdialogrules& rules,
                               void* /*owner*/) {
  scriptedwindow window(dialog, rules);
  const auto script = scripts.find(dialog.id);
  if (script != scripts.end()) {
    script->second(window);
  } else {
    window.Ok();
  }
  return window.Ended() ? window.Result() : 0;
}

cdialogwindow* scripteddesktop::OpenDialog(const cdialogtemplate& dialog, cdialogrules& rules,
                                           const char* caption) {
  auto window = std::make_unique<scriptedwindow>(dialog, rules);
  window->SetCaption(caption);
  window->onChange = onProgress;
  open_.push_back(std::move(window));
  return open_.back().get();
}

void scripteddesktop::CloseDialog(cdialogwindow* window) {
  std::erase_if(open_, [window](const auto& open) { return open.get() == window; });
}

void scripteddesktop::ShowMessage(const char* text, const char* caption, int style) {
  if (onMessage) {
    onMessage(text, caption, style);
  }
}

bool scripteddesktop::AskOpenFile(const cfiledialog& dialog, std::string& path) {
  return onOpenFile && onOpenFile(dialog, path);
}

bool scripteddesktop::AskSaveFile(const cfiledialog& dialog, std::string& path) {
  return onSaveFile && onSaveFile(dialog, path);
}

void* scripteddesktop::SetWaitCursor() {
  waiting_ = true;
  if (onCursor) {
    onCursor(true);
  }
  return &waiting_;
}

void scripteddesktop::RestoreCursor(void* /*cursor*/) {
  waiting_ = false;
  if (onCursor) {
    onCursor(false);
  }
}

void scripteddesktop::SleepMilliseconds(int milliseconds) {
  if (onSleep) {
    onSleep(milliseconds);
  }
}

}  // namespace desktop
