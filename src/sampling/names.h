#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "sampling/storednames.h"

class cmaterial;

// Room for an image path, terminator included.
inline constexpr std::size_t kImagePathSize = 512;

// The path of the material's colour image.
std::array<char, kImagePathSize> ImagePath(cmaterial& material);

// Whether an image path stands for "no image".
bool IsNoImage(std::string_view path);
