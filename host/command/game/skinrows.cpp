#include "command/game/skinrows.h"

#include <algorithm>
#include <string_view>

#include "command/files/paths.h"
#include "command/game/gamepath.h"
#include "sidefiles/textfile.h"

namespace command {

namespace {

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

void Take(std::string_view line, int number, skinrows& rows) {
  const std::string_view plain = Plain(line);
  const std::size_t comma = line.find(',');
  if (plain.empty() || plain.starts_with("//")) {
    return;
  }
  if (comma == std::string_view::npos) {
    rows.losses.Add(number, "not read: a line is SURFACE,PATH");
    return;
  }
  const std::string surface = Folded(std::string(Plain(line.substr(0, comma))));
  const std::string image(Plain(line.substr(comma + 1)));
  if (IsTagName(surface)) {
    return;
  }
  if (surface.empty() || NamesNothing(image)) {
    rows.losses.Add(number, surface.empty() ? "names no surface" : "names no image");
  } else if (const auto [row, fresh] =
                 rows.bySurface.emplace(surface, skinrow{Slashed(image), number});
             !fresh) {
    rows.losses.Add(number, "not read: " + surface + " has line " +
                                std::to_string(row->second.line) + " already");
  }
}

}  // namespace

skinrows ReadSkinRows(const std::string& path) {
  skinrows rows;
  std::string whole;
  rows.whole = LoadText(path.c_str(), whole);
  std::string_view text = rows.whole ? whole : std::string_view();
  for (int number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    Take(text.substr(0, end), number, rows);
    text.remove_prefix(end);
    text.remove_prefix(std::min<std::size_t>(text.starts_with("\r\n") ? 2 : 1, text.size()));
  }
  return rows;
}

}  // namespace command
