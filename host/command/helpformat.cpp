#include "command/helpformat.h"

#include <sstream>

#include "command/wording.h"

namespace command {

std::string helpformat::make_option(const CLI::Option* option, bool isPositional) const {
  std::string line = "  " + make_option_name(option, isPositional) + make_option_opts(option);
  const std::string indent(kNameColumns, ' ');
  if (line.size() + 2 > kNameColumns) {
    line += "\n" + indent;
  } else {
    line.resize(kNameColumns, ' ');
  }
  std::string text = line;
  std::size_t column = kNameColumns;
  std::istringstream words(make_option_desc(option));
  for (std::string word; words >> word; column += word.size() + 1) {
    if (column > kNameColumns && column + word.size() > kColumns) {
      text += "\n" + indent;
      column = kNameColumns;
    }
    text += (column > kNameColumns ? " " : "") + word;
  }
  return text + "\n";
}

std::string helpformat::make_option_opts(const CLI::Option* option) const {
  const std::string& value = option->get_option_text();
  return value.empty() ? value : " " + value;
}

std::string helpformat::make_option_desc(const CLI::Option* option) const {
  const std::string& usual = option->get_default_str();
  return option->get_description() + (usual.empty() ? usual : " (default: " + usual + ")");
}

}  // namespace command
