#include <filesystem>

#include "command/files/programpath.h"

namespace command {

namespace {

std::string BesideProgram(const char* folder, const char* name) {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return (program.parent_path() / folder / name).lexically_normal().string();
}

}  // namespace

std::string ModuleBesideProgram() { return BesideProgram(MARROW_LIBRARY_FOLDER, "libmarrow.so"); }

std::string PageBesideProgram() { return BesideProgram(MARROW_DATA_FOLDER, "marrow.html"); }

}  // namespace command
