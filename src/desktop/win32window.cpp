#include "desktop/win32window.h"

#include <commctrl.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "desktop/win32attached.h"

namespace {

LPARAM TextParameter(const char* text) { return reinterpret_cast<LPARAM>(text); }

}  // namespace

INT_PTR CALLBACK win32window::Procedure(HWND window, UINT message, WPARAM wide, LPARAM parameter) {
  auto* const opened = Attached<win32window>(window, message, parameter);
  if (message == WM_INITDIALOG) {
    opened->window_ = window;
    opened->rules_->OnInit(*opened);
    return TRUE;
  }
  // Buttons, check boxes, Enter and Escape; edit fields and lists send other codes.
  if (message == WM_COMMAND && HIWORD(wide) == BN_CLICKED && opened != nullptr) {
    opened->rules_->OnCommand(*opened, LOWORD(wide));
    return TRUE;
  }
  return FALSE;
}

LRESULT win32window::Send(int id, UINT message, WPARAM wide, LPARAM parameter) const {
  return SendDlgItemMessageA(window_, id, message, wide, parameter);
}

void win32window::SetCaption(const char* text) { SetWindowTextA(window_, text); }

void win32window::SetText(int id, const char* text) {
  Send(id, WM_SETTEXT, 0, TextParameter(text));
}

int win32window::GetLine(int id, char* buffer, int size) {
  if (size < 1) {
    return 0;
  }
  // The message takes the room from the buffer's first word and writes no zero.
  const WORD room = static_cast<WORD>(std::min(size - 1, 0xFFFF));
  std::vector<char> line(std::max<std::size_t>(room, sizeof room));
  std::memcpy(line.data(), &room, sizeof room);
  const auto length = static_cast<int>(Send(id, EM_GETLINE, 0, TextParameter(line.data())));
  std::memcpy(buffer, line.data(), static_cast<std::size_t>(length));
  buffer[length] = '\0';
  return length;
}

void win32window::SetCheck(int id, bool checked) {
  Send(id, BM_SETCHECK, checked ? BST_CHECKED : BST_UNCHECKED);
}

bool win32window::GetCheck(int id) { return Send(id, BM_GETCHECK) == BST_CHECKED; }

void win32window::Enable(int id, bool enabled) {
  EnableWindow(GetDlgItem(window_, id), static_cast<BOOL>(enabled));
}

void win32window::AddRow(int id, const char* text) {
  Send(id, LB_ADDSTRING, 0, TextParameter(text));
}

void win32window::SelectRow(int id, int row) { Send(id, LB_SETCURSEL, static_cast<WPARAM>(row)); }

int win32window::SelectedRow(int id) {
  return GetDlgItem(window_, id) == nullptr ? -1 : static_cast<int>(Send(id, LB_GETCURSEL));
}

void win32window::SelectRows(int id, int first, int last, bool selected) {
  Send(id, LB_SELITEMRANGE, static_cast<WPARAM>(selected), MAKELPARAM(first, last));
}

bool win32window::IsRowSelected(int id, int row) {
  return Send(id, LB_GETSEL, static_cast<WPARAM>(row)) > 0;
}

void win32window::SetBarRange(int id, int high) { Send(id, PBM_SETRANGE, 0, MAKELPARAM(0, high)); }

void win32window::SetBarPosition(int id, int position) {
  Send(id, PBM_SETPOS, static_cast<WPARAM>(position));
}

void win32window::SetFocus() { ::SetFocus(window_); }

void win32window::End(int result) { EndDialog(window_, result); }
