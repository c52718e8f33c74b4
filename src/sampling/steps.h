#pragma once

#include <cmath>
#include <cstdint>

// The 16-bit numbers of the formats: a value in steps, truncated toward zero, of which the low 16
// bits are kept. What no 64-bit number holds (infinities, NaN) becomes 0.
inline std::int16_t TruncateToSteps(double steps) {
  constexpr double kLimit = 9.0e18;
  if (!(std::fabs(steps) < kLimit)) {
    return 0;
  }
  return static_cast<std::int16_t>(
      static_cast<std::uint16_t>(static_cast<std::uint64_t>(static_cast<std::int64_t>(steps))));
}
