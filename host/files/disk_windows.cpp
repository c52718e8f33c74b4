#include <windows.h>

#include <cctype>
#include <system_error>

#include "core/utf8path.h"
#include "files/disk.h"

namespace files {

namespace {

int LastError() { return static_cast<int>(GetLastError()); }

}  // namespace

int FlushFile(const std::string& path) {
  HANDLE file = CreateFileW(core::PathOf(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                            OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    return LastError();
  }
  const int error = FlushFileBuffers(file) != 0 ? 0 : LastError();
  CloseHandle(file);
  return error;
}

int FlushFolder(const std::string& /*path*/) { return 0; }

int RenameOver(const std::string& from, const std::string& to) {
  return MoveFileExW(core::PathOf(from).c_str(), core::PathOf(to).c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0
             ? 0
             : LastError();
}

// Access rights come from the folder.
void CopyAttributes(const std::string& /*from*/, const std::string& /*to*/) {}

int CheckWritable(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(core::PathOf(path).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    return LastError();
  }
  return (attributes & FILE_ATTRIBUTE_READONLY) == 0 ? 0 : ERROR_ACCESS_DENIED;
}

std::string SystemMessage(int error) {
  std::string text = std::system_category().message(error);
  if (text.size() > 1 && std::islower(static_cast<unsigned char>(text[1])) != 0) {
    text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  }
  return text;
}

}  // namespace files
