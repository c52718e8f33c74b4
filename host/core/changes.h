#pragma once

#include <cstdint>

namespace core {

// Makes every remembered pose of every scene stale: a track or a parent changed. Costs nothing
// worth counting, so it may be called for every key.
void ForgetPoses();

// How often that was said, and one. A pose that was remembered at another count is stale. In the
// library alone, which has the one counter.
extern std::uint64_t poseChanges;
inline std::uint64_t Changes() { return poseChanges; }

}  // namespace core
