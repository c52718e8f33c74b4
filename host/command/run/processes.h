#pragma once

#include <cstddef>
#include <functional>

#include "command/console.h"

namespace command {

struct processend {
  int code = 0;    // exit code; kExitFailed where a signal ended it
  int signal = 0;  // that ended it
};

// Processes that work at a time.
unsigned SideBySide(std::size_t count, unsigned most);

// Calls work(i), which does not throw, for each i below `count`, and ended(i, ...) for each in that
// order, on this side. On POSIX each call is in a copy of this process, at most `most` at a time;
// the console shows what they printed, an end's whole before `ended` is called. Elsewhere they are
// called one after the other in this process, since a module holds what is current for its run.
// Fails when a process cannot be made.
void RunInProcesses(console& out, std::size_t count, std::size_t most,
                    const std::function<int(std::size_t)>& work,
                    const std::function<void(std::size_t, const processend&)>& ended);

}  // namespace command
