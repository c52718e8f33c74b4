#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace command {

// The parser's help with every description wrapped to the width of a terminal.
class helpformat final : public CLI::Formatter {
 public:
  helpformat() { column_width(kNameColumns); }

  std::string make_option(const CLI::Option* option, bool isPositional) const override;
  // What the value is called; what excludes what is for the description to say.
  std::string make_option_opts(const CLI::Option* option) const override;
  std::string make_option_desc(const CLI::Option* option) const override;

 private:
  static constexpr std::size_t kNameColumns = 26;
};

}  // namespace command
