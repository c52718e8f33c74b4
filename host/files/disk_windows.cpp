#include <windows.h>

#include <cstdlib>

#include "core/utf8path.h"
#include "files/disk.h"

namespace files {

namespace {

int SystemError() { return static_cast<int>(GetLastError()); }

}  // namespace

int FlushFile(const std::string& path) {
  HANDLE file = CreateFileW(core::PathOf(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                            OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    return SystemError();
  }
  const int error = FlushFileBuffers(file) != 0 ? 0 : SystemError();
  CloseHandle(file);
  return error;
}

int FlushFolder(const std::string& /*path*/) { return 0; }

int RenameOver(const std::string& from, const std::string& to) {
  return MoveFileExW(core::PathOf(from).c_str(), core::PathOf(to).c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0
             ? 0
             : SystemError();
}

// Access rights come from the folder.
void CopyAttributes(const std::string& /*from*/, const std::string& /*to*/) {}

int CheckWritable(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(core::PathOf(path).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    return SystemError();
  }
  return (attributes & FILE_ATTRIBUTE_READONLY) == 0 ? 0 : ERROR_ACCESS_DENIED;
}

// Not by _get_doserrno, which the system's C library does not export.
int LastError() { return static_cast<int>(_doserrno); }

}  // namespace files
