#include "desktop/win32desktop.h"

#include <windows.h>

#include <commctrl.h>
#include <commdlg.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include "desktop/currentdesktop.h"
#include "desktop/win32window.h"

namespace {

HINSTANCE Instance(const cdialogtemplate& dialog) { return static_cast<HINSTANCE>(*dialog.module); }

const char* Resource(const cdialogtemplate& dialog) {
  return MAKEINTRESOURCEA(static_cast<WORD>(dialog.id));
}

LPARAM Parameter(win32window& window) { return reinterpret_cast<LPARAM>(&window); }

int AskFile(BOOL(WINAPI* ask)(OPENFILENAMEA*), const cfiledialog& dialog, char* path, int size) {
  // Pairs of name and pattern, each with its zero, behind them one more.
  std::string filter;
  for (const char* text : {dialog.filterName, dialog.filterPattern, "All Files (*.*)", "*.*"}) {
    filter.append(text).push_back('\0');
  }
  std::array<char, 256> file{};
  std::array<char, 256> title{};
  OPENFILENAMEA settings{};
  settings.lStructSize = sizeof settings;
  settings.lpstrFilter = filter.c_str();
  settings.nFilterIndex = 1;
  settings.lpstrFile = file.data();
  settings.nMaxFile = static_cast<DWORD>(file.size());
  settings.lpstrFileTitle = title.data();
  settings.nMaxFileTitle = static_cast<DWORD>(title.size());
  settings.lpstrTitle = dialog.title;
  settings.lpstrDefExt = dialog.defaultExtension;
  settings.Flags = dialog.flags;
  // The dialogs make the directory that was looked at last the current one, which would change
  // the meaning of every relative path that a program still holds.
  std::error_code ignored;
  const std::filesystem::path before = std::filesystem::current_path(ignored);
  const bool chosen = ask(&settings) != FALSE;
  std::filesystem::current_path(before, ignored);
  const std::size_t length = std::strlen(file.data());
  if (!chosen || length >= static_cast<std::size_t>(size)) {
    return 0;
  }
  std::memcpy(path, file.data(), length + 1);
  return 1;
}

}  // namespace

win32desktop::win32desktop() {
  const INITCOMMONCONTROLSEX classes{sizeof classes, ICC_PROGRESS_CLASS};
  InitCommonControlsEx(&classes);
}

int win32desktop::RunDialog(const cdialogtemplate& dialog, cdialogrules& rules, void* owner) {
  win32window window(rules);
  return static_cast<int>(DialogBoxParamA(Instance(dialog), Resource(dialog),
                                          static_cast<HWND>(owner), win32window::Procedure,
                                          Parameter(window)));
}

cdialogwindow* win32desktop::OpenDialog(const cdialogtemplate& dialog, cdialogrules& rules,
                                        const char* caption) {
  auto window = std::make_unique<win32window>(rules);
  HWND opened = CreateDialogParamA(Instance(dialog), Resource(dialog), nullptr,
                                   win32window::Procedure, Parameter(*window));
  if (opened == nullptr) {
    return nullptr;
  }
  SetWindowTextA(opened, caption);
  ShowWindow(opened, SW_SHOW);
  UpdateWindow(opened);
  return window.release();
}

void win32desktop::CloseDialog(cdialogwindow* window) {
  const std::unique_ptr<win32window> closing(static_cast<win32window*>(window));
  EndDialog(closing->Handle(), 1);
  DestroyWindow(closing->Handle());
}

void win32desktop::ShowMessage(const char* text, const char* caption, int style) {
  MessageBoxA(GetActiveWindow(), text, caption, static_cast<UINT>(style));
}

int win32desktop::AskOpenFile(const cfiledialog& dialog, char* path, int size) {
  return AskFile(GetOpenFileNameA, dialog, path, size);
}

int win32desktop::AskSaveFile(const cfiledialog& dialog, char* path, int size) {
  return AskFile(GetSaveFileNameA, dialog, path, size);
}

void* win32desktop::SetWaitCursor() {
  void* const before = GetCursor();
  SetCursor(LoadCursorA(nullptr, reinterpret_cast<const char*>(IDC_WAIT)));
  return before;
}

void win32desktop::RestoreCursor(void* cursor) { SetCursor(static_cast<HCURSOR>(cursor)); }

void win32desktop::SleepMilliseconds(int milliseconds) { Sleep(static_cast<DWORD>(milliseconds)); }

namespace {

class owndesktop final : public win32desktop {};

}  // namespace

cdesktop& OwnDesktop() {
  static owndesktop own;
  return own;
}
