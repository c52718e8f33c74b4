#pragma once

#include <cstdint>

namespace core {

inline std::uint64_t poseChanges = 1;

// Makes every remembered pose of every scene stale: a track or a parent changed. Costs nothing
// worth counting, so it may be called for every key.
inline void ForgetPoses() { ++poseChanges; }

// How often that was said, and one. A pose that was remembered at another count is stale.
inline std::uint64_t Changes() { return poseChanges; }

}  // namespace core
