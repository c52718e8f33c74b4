#include "command/game/newfile.h"

#include <array>
#include <filesystem>
#include <span>

#include "command/failure.h"
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
  try {
    files::replacement into(
        [&](const std::string& file, const std::string& text) { out.Warning(file, text); });
    const std::array<std::span<const std::uint8_t>, 1> pieces{content};
    into.Write(path, pieces);
    into.Commit();
  } catch (const files::fault& fault) {
    throw failure(fault.Path(), fault.what());
  }
  return true;
}

}  // namespace command
