#pragma once

#include <array>
#include <bit>
#include <cstring>
#include <type_traits>

// A little-endian number as it stands in a model file: no alignment, no padding, any host byte
// order. Records made of these can be read in place wherever they lie in a block.
template <class T>
requires std::is_arithmetic_v<T>
class little {
 public:
  little() = default;
  little(T value) { *this = value; }  // NOLINT(google-explicit-constructor): a number is a number

  little& operator=(T value) {
    std::memcpy(bytes_.data(), &value, sizeof value);
    Swap();
    return *this;
  }

  operator T() const {  // NOLINT(google-explicit-constructor)
    little copy = *this;
    copy.Swap();
    return std::bit_cast<T>(copy.bytes_);
  }

 private:
  using bytes = std::array<unsigned char, sizeof(T)>;

  void Swap() {
    if constexpr (std::endian::native == std::endian::big) {
      for (std::size_t low = 0, high = sizeof(T) - 1; low < high; ++low, --high) {
        std::swap(bytes_[low], bytes_[high]);
      }
    }
  }

  bytes bytes_{};
};
