#include <filesystem>

#include "command/files/programpath.h"

namespace command {

std::string ModuleBesideProgram() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return (program.parent_path() / MARROW_LIBRARY_FOLDER / "libmarrow.so")
      .lexically_normal()
      .string();
}

}  // namespace command
