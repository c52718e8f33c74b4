#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>

#include "command/memorylimit.h"

namespace command {

namespace {

struct fileclose {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

std::uint64_t PageSize() { return static_cast<std::uint64_t>(std::max(sysconf(_SC_PAGESIZE), 0L)); }

// Bytes of data that the process has reserved, as the limit counts them; 0 where none tells.
std::uint64_t DataInUse() {
  const std::unique_ptr<std::FILE, fileclose> file(std::fopen("/proc/self/statm", "r"));
  unsigned long pages = 0;
  // Total, resident, shared, text, unused, data
  const bool read =
      file != nullptr && std::fscanf(file.get(), "%*u %*u %*u %*u %*u %lu", &pages) == 1;
  return read ? pages * PageSize() : 0;
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
