#pragma once

// Where what a command makes of its inputs goes.

#include <string>
#include <vector>

namespace CLI {
class App;
}  // namespace CLI

namespace command {

// -o, --to and --jobs.
struct outputoptions {
  std::string target;  // a file or a folder; empty: beside each input
  std::string kind;    // of --to: suffix of files whose names are not given
  std::string usual;   // the kind without --to; empty: none
  unsigned jobs;       // processes at a time

  outputoptions();
  // `what` begins the help of -o, `value` is what its file is called; `kinds` are those of --to.
  void Define(CLI::App& app, const std::string& what, const std::string& value,
              const std::vector<std::string>& kinds);
  // A file for each of the inputs: what -o names for a single one, else one of the input's stem, in
  // the folder that -o names or beside it. Fails as wrong usage when the kind is not told, and when
  // two would have one name or one would stand in its input's place.
  std::vector<std::string> For(const std::vector<std::string>& inputs) const;

 private:
  std::string kinds_;  // as a list to be read
};

}  // namespace command
