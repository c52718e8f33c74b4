#pragma once

// The image library as this project uses it: JPEG, PNG and TGA from memory, of which it takes no
// more at once than it is given: an image of one pixel may have gigabytes of data.

#include <cstddef>

namespace core {

// Of this thread's calls, until the next one.
void LimitImageBlocks(std::size_t bytes);
void* AllocateImageBlock(std::size_t bytes);
void* ReallocateImageBlock(void* block, std::size_t bytes);
void FreeImageBlock(void* block);

}  // namespace core

#define STBI_ONLY_JPEG
#define STBI_ONLY_PNG
#define STBI_ONLY_TGA
#define STBI_NO_STDIO
#define STBI_NO_LINEAR
#define STBI_NO_HDR
#define STBI_MALLOC(bytes) core::AllocateImageBlock(bytes)
#define STBI_REALLOC(block, bytes) core::ReallocateImageBlock(block, bytes)
#define STBI_FREE(block) core::FreeImageBlock(block)
#include <stb/stb_image.h>
