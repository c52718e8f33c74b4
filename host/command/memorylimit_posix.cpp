#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "command/memorylimit.h"

namespace command {

namespace {

std::uint64_t PageSize() { return static_cast<std::uint64_t>(std::max(sysconf(_SC_PAGESIZE), 0L)); }

// Bytes of data that the process has reserved, as the limit counts them; 0 where none tells.
std::uint64_t DataInUse() {
  std::ifstream file("/proc/self/statm");
  // Total, resident, shared, text, unused, data
  constexpr int kData = 5;
  std::uint64_t pages = 0;
  for (int i = 0; i <= kData && file; ++i) {
    file >> pages;
  }
  return file ? pages * PageSize() : 0;
}

}  // namespace

std::uint64_t MachineMemory() {
  return static_cast<std::uint64_t>(std::max(sysconf(_SC_PHYS_PAGES), 0L)) * PageSize();
}

void LimitProcess(std::uint64_t bytes) {
  rlimit limit{};
  const std::uint64_t inUse = DataInUse();
  if (bytes == 0 || getrlimit(RLIMIT_DATA, &limit) != 0) {
    return;
  }
  const auto wanted = static_cast<rlim_t>(inUse + bytes);
  if (limit.rlim_cur == RLIM_INFINITY || wanted < limit.rlim_cur) {
    limit.rlim_cur = wanted;
    setrlimit(RLIMIT_DATA, &limit);
  }
}

}  // namespace command
