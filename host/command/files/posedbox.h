#pragma once

#include <array>

#include "mdmmdx/mdmfile.h"
#include "mdmmdx/mdxfile.h"

namespace command {

// Minimum and maximum corner; the minimum lies above the maximum in a box of nothing.
using corners = std::array<std::array<double, 3>, 2>;

// The vertices of a mesh in the first frame of a skeleton that has all of its bones (FitsTo), from
// the frame's localOrigin as its bounds are. Without a frame the box is one of nothing.
corners PosedBox(const cmdmfile& mesh, const cmdxfile& skeleton);

}  // namespace command
