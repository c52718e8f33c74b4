#pragma once

#include "core/affine.h"
#include "core/state.h"

namespace core {

// The track at a frame: linear position and scale, rotation along the shorter arc, the first and
// last key beyond the ends. The rotation has the length that the keys' rotations have.
CORE_API ckey KeyAtFrame(const trackstate& track, int frame);
// The same as a transform.
CORE_API affine LocalAtFrame(const trackstate& track, int frame);

// The rotation at t, from 0 to 1, on the shorter arc from a to b.
CORE_API cquat Between(const cquat& a, const cquat& b, double t);

// Puts keys that were set out of order into the order of their frames.
void SortKeys(trackstate& track);

}  // namespace core
