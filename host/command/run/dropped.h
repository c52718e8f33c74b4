#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "command/console.h"

namespace command {

// Where files were dropped on the program in the Explorer: asks for each which file to write, which
// is beside it at first, has `run` convert it (the words of a command line; gives the exit code),
// and shows in a box what was written or why not. Gives the last code that is not 0. Nothing where
// the program was started otherwise.
std::optional<int> ConvertDropped(console& out, const std::vector<std::string>& arguments,
                                  const std::function<int(const std::vector<std::string>&)>& run);

}  // namespace command
