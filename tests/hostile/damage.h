#pragma once

#include <array>
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
void ReadBlock(const bytes& content, Read&& read) {
  const auto block = std::make_unique<unsigned char[]>(content.size());
  if (!content.empty()) {
    std::memcpy(block.get(), content.data(), content.size());
  }
  read(static_cast<const unsigned char*>(block.get()), content.size());
}

// Cut off at every byte.
template <class Read>
void ReadTruncations(const bytes& good, Read&& read) {
  for (std::size_t size = 0; size < good.size(); ++size) {
    ReadBlock(bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size)), read);
  }
}

inline constexpr std::array<std::int32_t, 3> kBadNumbers{0, -1, 0x7FFFFFFF};

inline void SetNumber(bytes& content, std::size_t position, std::int32_t number) {
  for (std::size_t i = 0; i < 4 && position + i < content.size(); ++i) {
    content[position + i] = static_cast<std::uint8_t>(static_cast<std::uint32_t>(number) >> 8 * i);
  }
}

// Each of the 32-bit fields at these positions set to each bad number.
template <class Read>
void ReadBadFields(const bytes& good, const std::vector<std::size_t>& fields, Read&& read) {
  for (const std::size_t field : fields) {
    for (const std::int32_t number : kBadNumbers) {
      bytes bad = good;
      SetNumber(bad, field, number);
      ReadBlock(bad, read);
    }
  }
}

// A few changes to a copy: single bytes, bad numbers, small numbers, pieces copied elsewhere, cut
// ends.
inline bytes Mutate(const bytes& good, std::mt19937& random) {
  bytes bad = good;
  for (auto changes = 1 + random() % 4; changes > 0 && !bad.empty(); --changes) {
    const std::size_t at = random() % bad.size();
    switch (random() % 5) {
      case 0:
        bad[at] = static_cast<std::uint8_t>(random());
        break;
      case 1:
        SetNumber(bad, at & ~std::size_t{3}, kBadNumbers[random() % kBadNumbers.size()]);
        break;
      case 2:
        SetNumber(bad, at & ~std::size_t{3}, static_cast<std::int32_t>(random() % 512) - 8);
        break;
      case 3: {
        const std::size_t from = random() % bad.size();
        const std::size_t count = std::min<std::size_t>(random() % 64, bad.size() - from);
        for (std::size_t i = 0; i < count && at + i < bad.size(); ++i) {
          bad[at + i] = good[std::min(from + i, good.size() - 1)];
        }
        break;
      }
      default:
        if (random() % 8 == 0) {
          bad.resize(at);
        }
        break;
    }
  }
  return bad;
}

template <class Read>
void ReadMutations(const bytes& good, int count, Read&& read) {
  std::mt19937 random(1);
  for (int i = 0; i < count; ++i) {
    ReadBlock(Mutate(good, random), read);
  }
}

// All of the above, with 100,000 mutations.
template <class Read>
void ReadDamaged(const bytes& good, const std::vector<std::size_t>& fields, Read&& read) {
  constexpr int kMutations = 100000;
  ReadTruncations(good, read);
  ReadBadFields(good, fields, read);
  ReadMutations(good, kMutations, read);
}
