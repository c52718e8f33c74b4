#pragma once

#include <cstdint>

#include "sampling/steps.h"

// The 16-bit angle of the skeletal formats: one turn is 65536 units.

// 360 / 65536.
inline constexpr float kDegreesPerAngleUnit = 0.0054931640625F;

// -65536 / 360 in single precision (bits 0xC3360B61). Stored units are minus the angle of the Euler
// triple; a decoder negates them again before it builds a rotation.
inline constexpr float kAngleUnitsPerDegree = -182.04445F;

inline float DecodeAngle(std::int16_t unit) {
  return static_cast<float>(unit) * kDegreesPerAngleUnit;
}

// Truncated toward zero; the product is not rounded to single precision first.
inline std::int16_t EncodeAngle(float degrees) {
  return TruncateToSteps(double{degrees} * double{kAngleUnitsPerDegree});
}
