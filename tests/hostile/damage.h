#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "samples/bytes.h"

// What a stranger's file may have been through. Each damaged copy stands in a block of exactly its
// size, so that the address sanitizer sees a reader take one byte too many.
template <class Read>
auto ReadBlock(const bytes& content, Read&& read) {
  const auto block = std::make_unique<unsigned char[]>(content.size());
  std::ranges::copy(content, block.get());
  return read(static_cast<const unsigned char*>(block.get()), content.size());
}

inline constexpr std::int32_t kBadNumbers[] = {0, -1, 0x7FFFFFFF};

inline void SetNumber(bytes& content, std::size_t position, std::int32_t number) {
  for (std::size_t i = 0; i < 4 && position + i < content.size(); ++i) {
    content[position + i] = static_cast<std::uint8_t>(static_cast<std::uint32_t>(number) >> 8 * i);
  }
}

// A few changes to a copy: single bytes, bad numbers, small numbers, pieces copied elsewhere, cut
// ends.
inline bytes Mutate(const bytes& good, std::mt19937& random) {
  bytes bad = good;
  for (auto changes = 1 + random() % 4; changes > 0 && !bad.empty(); --changes) {
    const std::size_t at = random() % bad.size();
    const std::size_t number = at & ~std::size_t{3};
    const std::size_t kind = random() % 5;
    if (kind == 0) {
      bad[at] = static_cast<std::uint8_t>(random());
    } else if (kind == 1) {
      SetNumber(bad, number, kBadNumbers[random() % std::size(kBadNumbers)]);
    } else if (kind == 2) {
      SetNumber(bad, number, static_cast<std::int32_t>(random() % 512) - 8);
    } else if (kind == 3) {
      const std::size_t from = random() % bad.size();
      const std::size_t count =
          std::min({random() % std::size_t{64}, bad.size() - from, bad.size() - at});
      std::memmove(&bad[at], &good[from], count);
    } else if (random() % 8 == 0) {
      bad.resize(at);
    }
  }
  return bad;
}
