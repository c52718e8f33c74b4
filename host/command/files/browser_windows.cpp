#include <windows.h>

#include <shellapi.h>

#include "command/files/browser.h"
#include "core/utf8path.h"

namespace command {

bool OpenInBrowser(const std::string& path) {
  const std::wstring file = core::PathOf(path).wstring();
  // The system's own sign of success.
  return reinterpret_cast<INT_PTR>(
             ShellExecuteW(nullptr, L"open", file.c_str(), nullptr, nullptr, SW_SHOWNORMAL)) > 32;
}

}  // namespace command
