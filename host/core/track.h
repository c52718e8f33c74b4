#pragma once

#include "core/affine.h"
#include "core/state.h"

namespace core {

// The track at a frame: linear position and scale, rotation along the shorter arc, the first and
// last key beyond the ends. The rotation has the length that the keys' rotations have.
CORE_API ckey KeyAtFrame(const trackstate& track, int frame);
// The same as a transform.
affine LocalAtFrame(const trackstate& track, int frame);

// Puts keys that were set out of order into the order of their frames.
void SortKeys(trackstate& track);

}  // namespace core
