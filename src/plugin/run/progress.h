#pragma once

#include "plugin/platform/desktop.h"

// The progress window of a run with its wait cursor. It exists from Open to Finish; a run that
// the host ends early closes it on the way out.
class cprogress {
 public:
  cprogress() = default;
  ~cprogress();
  cprogress(const cprogress&) = delete;
  cprogress& operator=(const cprogress&) = delete;

  // Saves the cursor, shows the wait cursor and opens the window.
  void Open(const char* caption);
  void SetRange(int count);
  void SetPosition(int position);
  void SetText(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void SetFocus();

  // Waits 500 ms, so that the last text can be read, then closes what is open.
  void Finish();

 private:
  void Close();

  cdialogwindow* hprogress_ = nullptr;
  bool waiting_ = false;
  cdesktop* desktop_ = nullptr;  // that opened the window
  void* cursor_ = nullptr;       // the one that showed before; null for none
};
