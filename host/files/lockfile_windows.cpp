#include <windows.h>

#include <system_error>

#include "core/utf8path.h"
#include "files/lockfile.h"

namespace files {

namespace {

constexpr DWORD kRetry = 20;  // ms

}  // namespace

std::unique_ptr<lockfile> lockfile::Acquire(const std::string& path,
                                            std::chrono::milliseconds wait) {
  const auto deadline = std::chrono::steady_clock::now() + wait;
  for (;;) {
    // Nobody else may open it, and it is gone when the last handle is.
    HANDLE file =
        CreateFileW(core::PathOf(path).c_str(), GENERIC_WRITE | DELETE, 0, nullptr, OPEN_ALWAYS,
                    FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
      return std::unique_ptr<lockfile>(new lockfile(path, file));
    }
    const DWORD error = GetLastError();
    // A file that is being deleted denies access for a moment.
    if (error != ERROR_SHARING_VIOLATION && error != ERROR_ACCESS_DENIED) {
      throw std::system_error(static_cast<int>(error), std::system_category());
    }
    if (std::chrono::steady_clock::now() >= deadline) {
      return nullptr;
    }
    Sleep(kRetry);
  }
}

lockfile::~lockfile() { CloseHandle(handle_); }

}  // namespace files
