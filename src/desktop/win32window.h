#pragma once

#include <windows.h>

#include "plugin/platform/dialogs.h"

// The rules' side of an open dialog: each operation is the message or call of the system that
// does it.
class win32window final : public cdialogwindow {
 public:
  explicit win32window(cdialogrules& rules) : rules_(&rules) {}

  HWND Handle() const { return window_; }

  void SetCaption(const char* text) override;
  void SetText(int id, const char* text) override;
  int GetLine(int id, char* buffer, int size) override;
  void SetCheck(int id, bool checked) override;
  bool GetCheck(int id) override;
  void Enable(int id, bool enabled) override;
  void AddRow(int id, const char* text) override;
  void SelectRow(int id, int row) override;
  int SelectedRow(int id) override;
  void SelectRows(int id, int first, int last, bool selected) override;
  bool IsRowSelected(int id, int row) override;
  void SetBarRange(int id, int high) override;
  void SetBarPosition(int id, int position) override;
  void SetFocus() override;
  void End(int result) override;

  // The dialog procedure; its parameter at creation is a win32window.
  static INT_PTR CALLBACK Procedure(HWND window, UINT message, WPARAM wide, LPARAM parameter);

 private:
  LRESULT Send(int id, UINT message, WPARAM wide = 0, LPARAM parameter = 0) const;

  cdialogrules* rules_;
  HWND window_ = nullptr;
};
