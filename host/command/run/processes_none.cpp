#include "command/run/processes.h"

namespace command {

unsigned SideBySide(std::size_t /*count*/, unsigned /*most*/) { return 1; }

void RunInProcesses(console& /*out*/, std::size_t count, std::size_t /*most*/,
                    const std::function<int(std::size_t)>& work,
                    const std::function<void(std::size_t, const processend&)>& ended) {
  for (std::size_t i = 0; i < count; ++i) {
    ended(i, {work(i), 0});
  }
}

}  // namespace command
