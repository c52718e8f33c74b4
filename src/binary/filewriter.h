#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <type_traits>
#include <vector>

// A model file being written through one buffered stream. Records are those of the formats:
// trivially copyable, without padding. The first failure is remembered, not thrown, and nothing is
// written after it.
class filewriter {
 public:
  filewriter() = default;
  ~filewriter();
  filewriter(const filewriter&) = delete;
  filewriter& operator=(const filewriter&) = delete;

  // Mode "wb": the old content of the file is gone from here on.
  bool Open(const char* path);

  template <class T>
  void Put(const T& record) {
    static_assert(std::is_trivially_copyable_v<T> && alignof(T) == 1);
    PutBytes(&record, sizeof(T));
  }
  template <class T>
  void PutAll(const std::vector<T>& records) {
    static_assert(std::is_trivially_copyable_v<T> && alignof(T) == 1);
    PutBytes(records.data(), records.size() * sizeof(T));
  }
  void PutBytes(const void* bytes, std::size_t size);

  // The current position, in the 32 bits that the formats' offsets have.
  std::int32_t Position() const { return static_cast<std::int32_t>(position_); }
  void Seek(std::int32_t position);

  // Closes the file; false when anything since Open failed. Then the file is left empty, since a
  // part of it could be taken for the whole, and errno has the reason, after the destructor too.
  bool Close();

 private:
  void Require(bool done);

  std::FILE* stream_ = nullptr;
  std::int64_t position_ = 0;
  std::string path_;
  int error_ = 0;  // the system's
};
