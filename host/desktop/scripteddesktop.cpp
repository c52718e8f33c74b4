#include <algorithm>
#include <cstring>
#include <utility>

#include "desktop/scripted.h"

namespace desktop {

namespace {

using fileanswer = std::function<bool(const cfiledialog&, std::string& path)>;

int Answer(const fileanswer& answer, const cfiledialog& dialog, char* path, int size) {
  std::string chosen;
  if (!answer || !answer(dialog, chosen) || chosen.size() >= static_cast<std::size_t>(size)) {
    return 0;
  }
  std::memcpy(path, chosen.c_str(), chosen.size() + 1);
  return 1;
}

}  // namespace

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

int scripteddesktop::AskOpenFile(const cfiledialog& dialog, char* path, int size) {
  return Answer(onOpenFile, dialog, path, size);
}

int scripteddesktop::AskSaveFile(const cfiledialog& dialog, char* path, int size) {
  return Answer(onSaveFile, dialog, path, size);
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
