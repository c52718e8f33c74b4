#include <algorithm>
#include <array>
#include <string_view>

#include "command/helpformat.h"
#include "command/manual/manual.h"

namespace manual {

bool optiontext::TakesFile() const {
  // The other values are numbers, and names of what is in a file.
  constexpr std::array<std::string_view, 5> kFiles{"FILE", "IN", "MODEL", "OUT", "SCENE"};
  return std::ranges::find(kFiles, value) != kFiles.end();
}

std::vector<optiontext> OptionsOf(const CLI::App& app) {
  const command::helpformat format;
  std::vector<optiontext> options;
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_group().empty()) {
      continue;  // hidden
    }
    optiontext entry;
    entry.positional = option->get_positional();
    if (entry.positional) {
      entry.names.push_back(option->get_name(true));
      entry.value = entry.names.front();
    } else {
      for (const std::string& name : option->get_snames()) {
        entry.names.push_back("-" + name);
      }
      for (const std::string& name : option->get_lnames()) {
        entry.names.push_back("--" + name);
      }
      if (option->get_items_expected_max() > 0) {
        entry.value = option->get_option_text();
      }
    }
    entry.group = option->get_group();
    entry.text = format.make_option_desc(option);
    entry.required = option->get_required();
    entry.repeated = option->get_items_expected_max() > 1;
    options.push_back(std::move(entry));
  }
  return options;
}

}  // namespace manual
