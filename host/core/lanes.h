#pragma once

namespace core {

// Four numbers that are computed with at once. Each operation rounds by itself and sums are taken
// in the order written, so that results are the same on all processors.
using float4 = float __attribute__((vector_size(16)));
using double4 = double __attribute__((vector_size(32)));

inline float4 Least(float4 a, float4 b) { return a < b ? a : b; }
inline float4 Largest(float4 a, float4 b) { return a > b ? a : b; }

}  // namespace core
