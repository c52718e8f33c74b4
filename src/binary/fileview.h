#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

// A file held in one block, read in place. Every access names an offset and a count from the
// file; what does not lie inside the block is refused, so nothing is followed unchecked.
class fileview {
 public:
  fileview() = default;
  // The block belongs to the caller and outlives the view.
  fileview(const unsigned char* data, std::size_t size) : data_(data), size_(size) {}

  const unsigned char* Data() const { return data_; }
  std::int64_t Size() const { return static_cast<std::int64_t>(size_); }

  // `count` records of type T from byte `offset` on; null unless all of them lie inside. Offsets
  // are sums of a few 32-bit fields and counts are 32-bit fields, so 64 bits never overflow.
  template <class T>
  const T* Records(std::int64_t offset, std::int64_t count = 1) const {
    static_assert(std::is_trivially_copyable_v<T> && alignof(T) == 1);
    static_assert(sizeof(T) < (std::size_t{1} << 16));
    if (offset < 0 || count < 0 || offset > Size()) {
      return nullptr;
    }
    if (count > (Size() - offset) / static_cast<std::int64_t>(sizeof(T))) {
      return nullptr;
    }
    return reinterpret_cast<const T*>(data_ + offset);
  }

 private:
  const unsigned char* data_ = nullptr;
  std::size_t size_ = 0;
};
