#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/state.h"

namespace core {

// The pixels of a whole JPEG, TGA or PNG file. Null when it is none, or larger than
// kMostPixels; throws std::bad_alloc.
CORE_API std::shared_ptr<const pixels> DecodeImage(std::vector<std::uint8_t> file);

// A whole JPEG or PNG file kept as it is, with the size that its header tells; its pixels are not
// decoded. Null when it is neither.
CORE_API std::shared_ptr<const pixels> KeepImage(std::vector<std::uint8_t> file);

// The pixels' colours, three bytes each; empty where a pixel is not opaque.
CORE_API std::vector<std::uint8_t> OpaqueRgb(const pixels& image);

// 8192 x 8192: far above any image of a game, and 256 MB decoded.
inline constexpr std::int64_t kMostPixels = std::int64_t{1} << 26;

}  // namespace core
