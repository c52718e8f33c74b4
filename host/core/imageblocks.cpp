#include <cstdlib>

#include "core/stbimage.h"

namespace core {

namespace {

thread_local std::size_t limit = 0;

}  // namespace

void LimitImageBlocks(std::size_t bytes) { limit = bytes; }

void* AllocateImageBlock(std::size_t bytes) { return bytes > limit ? nullptr : std::malloc(bytes); }

void* ReallocateImageBlock(void* block, std::size_t bytes) {
  return bytes > limit ? nullptr : std::realloc(block, bytes);
}

void FreeImageBlock(void* block) { std::free(block); }

}  // namespace core
