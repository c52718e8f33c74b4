#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <system_error>
#include <thread>

#include "files/lockfile.h"

namespace files {

namespace {

constexpr std::chrono::milliseconds kRetry{20};

// Whether the open file is still the one under the name: its last holder removes it. The other
// result is an error where the system does not say.
bool IsNamed(int file, const char* path, int& error) {
  struct stat held {};
  struct stat named {};
  error = fstat(file, &held) == 0 ? 0 : errno;
  if (error == 0 && stat(path, &named) != 0) {
    error = errno == ENOENT ? 0 : errno;
    return false;
  }
  return error == 0 && held.st_ino == named.st_ino && held.st_dev == named.st_dev;
}

// Where nobody gets the lock, nobody holds it.
[[noreturn]] void Refuse(const std::string& path, int error) {
  unlink(path.c_str());
  throw std::system_error(error, std::generic_category());
}

}  // namespace

std::unique_ptr<lockfile> lockfile::Acquire(const std::string& path,
                                            std::chrono::milliseconds wait) {
  const auto deadline = std::chrono::steady_clock::now() + wait;
  for (;;) {
    std::optional<signalpause> registering(std::in_place);
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (file < 0) {
      throw std::system_error(errno, std::generic_category());
    }
    int error = 0;
    if (flock(file, LOCK_EX | LOCK_NB) == 0) {
      if (IsNamed(file, path.c_str(), error)) {
        return std::unique_ptr<lockfile>(new lockfile(path, file));
      }
      close(file);
      if (error != 0) {
        Refuse(path, error);
      }
      continue;
    }
    error = errno;
    close(file);
    if (error != EWOULDBLOCK && error != EINTR) {
      Refuse(path, error);
    }
    registering.reset();
    if (std::chrono::steady_clock::now() >= deadline) {
      return nullptr;
    }
    std::this_thread::sleep_for(kRetry);
  }
}

lockfile::~lockfile() {
  unlink(path_.c_str());
  close(handle_);
}

}  // namespace files
