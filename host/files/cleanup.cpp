#include "files/cleanup.h"

#include "files/cleanupslots.h"

namespace files {

std::array<std::atomic<const char*>, kCleanupSlots> cleanupSlots;

cleanupentry::cleanupentry(std::string path) : path_(std::move(path)) {
  for (std::size_t i = 0; i < kCleanupSlots; ++i) {
    const char* free = nullptr;
    if (cleanupSlots[i].compare_exchange_strong(free, path_.c_str())) {
      slot_ = static_cast<int>(i);
      return;
    }
  }
}

cleanupentry::~cleanupentry() {
  if (slot_ >= 0) {
    cleanupSlots[static_cast<std::size_t>(slot_)] = nullptr;
  }
}

}  // namespace files
