#pragma once

#include <cstdint>
#include <vector>

#include "core/state.h"

namespace gltf {

// A PNG file of the decoded pixels; without an alpha channel where all is opaque.
std::vector<std::uint8_t> EncodePng(const core::pixels& image);

}  // namespace gltf
