#pragma once

#include <windows.h>

// The object that a dialog was created with. Null for the messages that come before WM_INITDIALOG.
template <class T>
T* Attached(HWND window, UINT message, LPARAM parameter) {
  if (message == WM_INITDIALOG) {
    SetWindowLongPtrA(window, DWLP_USER, parameter);
  }
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the system keeps it as a number
  return reinterpret_cast<T*>(GetWindowLongPtrA(window, DWLP_USER));
}
