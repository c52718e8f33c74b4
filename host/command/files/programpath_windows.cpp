#include <windows.h>

#include <array>
#include <filesystem>

#include "command/files/programpath.h"

namespace command {

std::string ModuleBesideProgram() {
  std::array<wchar_t, 32768> program{};
  GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
  return (std::filesystem::path(program.data()).parent_path() / "marrow.dll").string();
}

}  // namespace command
