#include "command/game/newfile.h"

#include <array>
#include <filesystem>
#include <span>

#include "core/utf8path.h"
#include "files/replacement.h"

namespace command {

bool WriteNewFile(console& out, const std::string& path, const std::vector<std::uint8_t>& content,
                  bool force) {
  std::error_code error;
  if (!force && std::filesystem::exists(core::PathOf(path), error)) {
    out.Warning(path, "already exists, kept; use --force to replace it");
    return false;
  }
  files::replacement into(out.Warnings());
  const std::array<std::span<const std::uint8_t>, 1> pieces{content};
  into.Write(path, pieces);
  into.Commit();
  return true;
}

}  // namespace command
