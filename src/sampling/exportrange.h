#pragma once

#include <limits>

// What an export samples: scene frames start to end, both inclusive and neither below 0, seen from
// the point where the node of this name stands at scene frame 0.
struct exportrange {
  int start = 0;
  int end = 0;
  char originname[128] = {};

  // The largest int for a range that has one frame more.
  int NumFrames() const {
    const int steps = end - start;
    return steps == std::numeric_limits<int>::max() ? steps : steps + 1;
  }
};
