#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "samples/bytes.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t room);

// A mutation that starts from a good file wherever the input is too short to be one, so that a
// target needs no corpus.
inline std::size_t MutateSeeded(const bytes& good, std::uint8_t* data, std::size_t size,
                                std::size_t room) {
  constexpr std::size_t kTooShort = 8;
  if (size < kTooShort && good.size() <= room) {
    std::copy(good.begin(), good.end(), data);
    return good.size();
  }
  return LLVMFuzzerMutate(data, size, room);
}

// Defines a target: READ takes (data, size), GOOD makes a good file.
#define SEEDED_FUZZ_TARGET(READ, GOOD)                                                  \
  extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {   \
    READ(data, size);                                                                   \
    return 0;                                                                           \
  }                                                                                     \
  extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,  \
                                                 std::size_t room, unsigned /*seed*/) { \
    static const bytes good = GOOD;                                                     \
    return MutateSeeded(good, data, size, room);                                        \
  }
