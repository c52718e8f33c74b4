#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "samples/bytes.h"

inline bytes TextOf(const std::string& text) { return {text.begin(), text.end()}; }

// Hands the input to `read` as an open text stream, without its first byte, which says what kind
// of text it is.
template <class Read>
void ReadText(const std::uint8_t* data, std::size_t size, Read&& read) {
  if (size < 2) {
    return;
  }
  const auto block = std::make_unique<std::uint8_t[]>(size - 1);
  std::copy(data + 1, data + size, block.get());
  if (std::FILE* const stream = fmemopen(block.get(), size - 1, "r"); stream != nullptr) {
    read(stream, int{data[0]});
    std::fclose(stream);
  }
}
