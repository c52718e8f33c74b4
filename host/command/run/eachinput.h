#pragma once

// A command's work on several inputs.

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "command/console.h"

namespace command {

// Runs the work; what it throws is told, and its exit code given.
int Guarded(console& out, const std::function<int()>& work);

// Runs work(i) for each input, which gives an exit code: for one input in this process, for several
// in up to `jobs` processes at a time where the system can copy a process, else one after the
// other. What they say is shown in the inputs' order, and a line at the end sums up. The exit code
// of the worst: a failure before wrong usage before nothing done.
int ForEachInput(console& out, const std::vector<std::string>& inputs, unsigned jobs,
                 const std::function<int(std::size_t)>& work);

}  // namespace command
