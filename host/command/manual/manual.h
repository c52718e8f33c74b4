#pragma once

// What is told of the program outside of it: manual pages and completions for shells. All of it
// is read from the parser, so an option stands in them as soon as it can be given.

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace manual {

struct optiontext {
  std::vector<std::string> names;  // with their dashes, short ones first; a positional has one name
  std::string value;               // what the value is called; empty for a flag
  std::string group;
  std::string text;  // with the default
  bool positional = false;
  bool required = false;
  bool repeated = false;  // may be given several times

  // Whether the value is a file's name.
  bool TakesFile() const;
};

// In the parser's order.
std::vector<optiontext> OptionsOf(const CLI::App& app);

// The pages of the program (the first) and of each command, in man's language.
struct manpage {
  std::string name;  // "marrow-import"
  std::string text;
};
std::vector<manpage> ManPages(const CLI::App& program);

std::string BashCompletion(const CLI::App& program);
std::string ZshCompletion(const CLI::App& program);
std::string FishCompletion(const CLI::App& program);

}  // namespace manual
