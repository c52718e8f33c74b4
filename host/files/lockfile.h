#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "files/cleanup.h"

namespace files {

// An exclusive lock between processes, held as a lock on a file beside what it protects. The file
// disappears with the lock; one that a killed process left locks nothing.
class lockfile {
 public:
  // Waits for the lock at most that long. Null when another process still holds it then. Throws
  // std::system_error when the file cannot be made.
  static std::unique_ptr<lockfile> Acquire(const std::string& path, std::chrono::milliseconds wait);
  ~lockfile();
  lockfile(const lockfile&) = delete;
  lockfile& operator=(const lockfile&) = delete;

  const std::string& Path() const { return path_; }

 private:
#if defined(_WIN32)
  using nativefile = void*;
#else
  using nativefile = int;
#endif
  lockfile(std::string path, nativefile handle)
      : path_(std::move(path)), handle_(handle), cleanup_(path_) {}

  std::string path_;
  nativefile handle_;
  cleanupentry cleanup_;
};

}  // namespace files
