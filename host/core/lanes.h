#pragma once

#include <cstring>

#include "plugin/host/values.h"

namespace core {

// Four numbers that are computed with at once. Each operation rounds by itself and sums are taken
// in the order written, so that results are the same on all processors.
using float4 = float __attribute__((vector_size(16)));
using double4 = double __attribute__((vector_size(32)));

// Rows of a matrix go in and out as a whole: a processor waits where it reads at once what it has
// just written in parts.
inline float4 Load(const float (&row)[4]) {
  float4 values;
  std::memcpy(&values, row, sizeof values);
  return values;
}
inline void Store(float (&row)[4], float4 values) { std::memcpy(row, &values, sizeof values); }

inline float4 LanesOf(const cpoint3& p) { return float4{p.x, p.y, p.z, 0.0F}; }

// The row vector of the first three lanes times the matrix of these rows.
inline float4 TimesRows(float4 p, float4 x, float4 y, float4 z) {
  return p[0] * x + p[1] * y + p[2] * z;
}

inline float4 Least(float4 a, float4 b) { return a < b ? a : b; }
inline float4 Largest(float4 a, float4 b) { return a > b ? a : b; }

}  // namespace core
