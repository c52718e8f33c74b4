#include "command/memorylimit.h"

namespace command {

// A browser gives a page no more.
std::uint64_t MachineMemory() { return std::uint64_t{4} << 30; }

void LimitProcess(std::uint64_t /*bytes*/) {}

}  // namespace command
