#pragma once

#include <array>
#include <atomic>
#include <cstddef>

namespace files {

// Paths of the files of the runs under way. Signal handlers read the slots, so they are neither
// moved nor allocated.
inline constexpr std::size_t kCleanupSlots = 4096;
extern std::array<std::atomic<const char*>, kCleanupSlots> cleanupSlots;

}  // namespace files
