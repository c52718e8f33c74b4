#pragma once

#include <algorithm>
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

  // Points `list` to the records where there are any. A list without entries is null, wherever its
  // offset leads. False where the records do not lie inside the block.
  template <class T>
  bool List(std::int64_t offset, std::int64_t count, const T*& list) const {
    list = count > 0 ? Records<T>(offset, count) : nullptr;
    return count <= 0 || list != nullptr;
  }

 private:
  const unsigned char* data_ = nullptr;
  std::size_t size_ = 0;
};

// A count of a file; a negative one counts nothing.
inline std::int32_t CountOf(std::int32_t stored) { return std::max(stored, 0); }

// What a file's parts may claim together. Parts may share blocks, so that their sum can be larger
// than the file: a small file could name one block millions of times over. Such a sum is held to
// what its scene takes in memory.
class claimlimit {
 public:
  explicit claimlimit(const fileview& file) : left_(std::max(file.Size(), kMostShared)) {}

  // False when it is more than is left.
  bool Claim(std::int64_t size) {
    left_ -= size;
    return left_ >= 0;
  }

 private:
  // A byte of a file takes up to 8 bytes in a scene: at most 256 MiB for blocks that are shared.
  static constexpr std::int64_t kMostShared = std::int64_t{32} << 20;

  std::int64_t left_;
};
