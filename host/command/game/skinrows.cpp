#include "command/game/skinrows.h"

#include <algorithm>
#include <string_view>

#include "binary/loadfile.h"
#include "command/files/paths.h"
#include "command/game/gamepath.h"

namespace command {

namespace {

// Those of the games have some hundred bytes.
constexpr std::uint32_t kLargest = std::uint32_t{1} << 20;

// Without blanks and then one pair of quotes around it.
std::string_view Plain(std::string_view text) {
  const auto trim = [&](std::string_view around) {
    const std::size_t first = text.find_first_not_of(around);
    text = first == std::string_view::npos
               ? std::string_view()
               : text.substr(first, text.find_last_not_of(around) + 1 - first);
  };
  trim(" \t");
  trim("\"");
  trim(" \t");
  return text;
}

}  // namespace

std::unordered_map<std::string, std::string> ReadSkinRows(const std::string& path) {
  std::unordered_map<std::string, std::string> rows;
  loadedfile file;
  if (!LoadWholeFile(path.c_str(), file) || file.size > kLargest) {
    return rows;
  }
  std::string_view text(reinterpret_cast<const char*>(file.data.get()), file.size);
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const std::size_t comma = line.find(',');
    if (comma == std::string_view::npos || Plain(line).starts_with("//")) {
      continue;
    }
    const std::string surface = Folded(std::string(Plain(line.substr(0, comma))));
    const std::string image(Plain(line.substr(comma + 1)));
    if (!surface.empty() && !IsTagName(surface) && !NamesNothing(image)) {
      rows.emplace(surface, Slashed(image));
    }
  }
  return rows;
}

}  // namespace command
