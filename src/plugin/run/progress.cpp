#include "plugin/run/progress.h"

#include <cstdarg>
#include <cstdio>

#include "desktop/currentdesktop.h"
#include "dialogs/templates.h"

namespace {

constexpr int kReadingTimeMs = 500;

class progressrules final : public cdialogrules {
 public:
  void OnInit(cdialogwindow& window) override {
    window.SetBarRange(kProgressBar, 100);
    window.SetBarPosition(kProgressBar, 0);
  }
  void OnCommand(cdialogwindow& /*window*/, int /*id*/) override {}
};

progressrules rules;

}  // namespace

cprogress::~cprogress() { Close(); }

void cprogress::Open(const char* caption) {
  desktop_ = &CurrentDesktop();
  cursor_ = desktop_->SetWaitCursor();
  waiting_ = true;
  hprogress_ = desktop_->OpenDialog(ProgressDialog(), rules, caption);
}

void cprogress::SetRange(int count) {
  if (hprogress_ != nullptr) {
    hprogress_->SetBarRange(kProgressBar, count);
  }
}

void cprogress::SetPosition(int position) {
  if (hprogress_ != nullptr) {
    hprogress_->SetBarPosition(kProgressBar, position);
  }
}

void cprogress::SetText(const char* format, ...) {
  char text[1024];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  if (hprogress_ != nullptr) {
    hprogress_->SetText(kProgressText, text);
  }
}

void cprogress::SetFocus() {
  if (hprogress_ != nullptr) {
    hprogress_->SetFocus();
  }
}

void cprogress::Finish() {
  CurrentDesktop().SleepMilliseconds(kReadingTimeMs);
  Close();
}

void cprogress::Close() {
  if (hprogress_ != nullptr) {
    desktop_->CloseDialog(hprogress_);
    hprogress_ = nullptr;
  }
  if (waiting_) {
    waiting_ = false;
    desktop_->RestoreCursor(cursor_);
  }
}
