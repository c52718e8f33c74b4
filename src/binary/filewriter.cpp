#include "binary/filewriter.h"

#include <cerrno>
#include <limits>

filewriter::~filewriter() {
  if (stream_ != nullptr) {
    std::fclose(stream_);
  }
  if (error_ != 0) {
    errno = error_;
  }
}

bool filewriter::Open(const char* path) {
  path_ = path;
  stream_ = std::fopen(path, "wb");
  return stream_ != nullptr;
}

void filewriter::Require(bool done) {
  if (!done && error_ == 0) {
    error_ = errno != 0 ? errno : EIO;
  }
}

void filewriter::PutBytes(const void* bytes, std::size_t size) {
  if (size == 0 || error_ != 0) {
    return;
  }
  Require(std::fwrite(bytes, 1, size, stream_) == size);
  position_ += static_cast<std::int64_t>(size);
  if (position_ > std::numeric_limits<std::int32_t>::max() && error_ == 0) {
    error_ = EFBIG;
  }
}

void filewriter::Seek(std::int32_t position) {
  if (error_ == 0) {
    Require(std::fseek(stream_, position, SEEK_SET) == 0);
    position_ = position;
  }
}

bool filewriter::Close() {
  Require(std::fclose(stream_) == 0);
  stream_ = nullptr;
  if (error_ != 0) {
    if (std::FILE* const emptied = std::fopen(path_.c_str(), "wb"); emptied != nullptr) {
      std::fclose(emptied);
    }
    errno = error_;
  }
  return error_ == 0;
}
