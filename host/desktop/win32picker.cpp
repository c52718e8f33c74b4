// The node picker: a list of names, with resource 1 of this library.

#include "desktop/win32picker.h"

#include <windows.h>

#include "desktop/picker.h"
#include "desktop/win32attached.h"

namespace desktop {

namespace {

struct choice {
  const std::vector<cnode*>* candidates;
  const char* title;
  const char* button;
  cnode* node;
};

void Open(HWND window, const choice& asked) {
  SetWindowTextA(window, asked.title);
  SetDlgItemTextA(window, IDOK, asked.button);
  HWND list = GetDlgItem(window, PICKER_LIST);
  for (cnode* node : *asked.candidates) {
    SendMessageA(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(node->GetName()));
  }
  EnableWindow(GetDlgItem(window, IDOK), FALSE);
}

// False when no row is selected.
bool Take(HWND window, choice& asked) {
  const LRESULT row = SendDlgItemMessageA(window, PICKER_LIST, LB_GETCURSEL, 0, 0);
  if (row < 0) {
    return false;
  }
  asked.node = (*asked.candidates)[static_cast<std::size_t>(row)];
  return true;
}

INT_PTR CALLBACK Procedure(HWND window, UINT message, WPARAM wide, LPARAM parameter) {
  auto* const asked = Attached<choice>(window, message, parameter);
  if (message == WM_INITDIALOG) {
    Open(window, *asked);
    return TRUE;
  }
  if (message != WM_COMMAND || asked == nullptr) {
    return FALSE;
  }
  const int id = LOWORD(wide);
  const int code = HIWORD(wide);
  if (id == PICKER_LIST && code == LBN_SELCHANGE) {
    EnableWindow(GetDlgItem(window, IDOK), TRUE);
  } else if (id == IDOK || (id == PICKER_LIST && code == LBN_DBLCLK)) {
    if (Take(window, *asked)) {
      EndDialog(window, 1);
    }
  } else if (id == IDCANCEL) {
    EndDialog(window, 0);
  }
  return TRUE;
}

// The library that this code is in.
HINSTANCE Library() {
  HMODULE library = nullptr;
  GetModuleHandleExA(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<const char*>(&Procedure), &library);
  return library;
}

}  // namespace

cnode* PickFromWindow(const std::vector<cnode*>& candidates, const char* title,
                      const char* button) {
  choice asked{&candidates, title, button, nullptr};
  DialogBoxParamA(Library(), MAKEINTRESOURCEA(PICKER_DIALOG), GetActiveWindow(), Procedure,
                  reinterpret_cast<LPARAM>(&asked));
  return asked.node;
}

}  // namespace desktop
