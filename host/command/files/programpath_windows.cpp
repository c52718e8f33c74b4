#include <windows.h>

#include <array>
#include <filesystem>

#include "command/files/programpath.h"

namespace command {

namespace {

std::filesystem::path ProgramFolder() {
  std::array<wchar_t, 32768> program{};
  GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
  return std::filesystem::path(program.data()).parent_path();
}

}  // namespace

std::string ModuleBesideProgram() { return (ProgramFolder() / "marrow.dll").string(); }

std::string PageBesideProgram() {
  return (ProgramFolder() / MARROW_DATA_FOLDER / "marrow.html").lexically_normal().string();
}

}  // namespace command
