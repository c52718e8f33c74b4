#include "binary/filewriter.h"

#include <limits>

filewriter::~filewriter() {
  if (stream_ != nullptr) {
    std::fclose(stream_);
  }
}

bool filewriter::Open(const char* path) {
  stream_ = std::fopen(path, "wb");
  return stream_ != nullptr;
}

void filewriter::PutBytes(const void* bytes, std::size_t size) {
  if (size == 0) {
    return;
  }
  failed_ = std::fwrite(bytes, 1, size, stream_) != size || failed_;
  position_ += static_cast<std::int64_t>(size);
  failed_ = position_ > std::numeric_limits<std::int32_t>::max() || failed_;
}

void filewriter::Seek(std::int32_t position) {
  failed_ = std::fseek(stream_, position, SEEK_SET) != 0 || failed_;
  position_ = position;
}

bool filewriter::Close() {
  failed_ = std::fclose(stream_) != 0 || failed_;
  stream_ = nullptr;
  return !failed_;
}
