#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "files/disk.h"

namespace files {

namespace {

// The result of a system call, which a signal may end before its time.
template <class Call>
int Repeated(Call&& call) {
  int result = call();
  while (result < 0 && errno == EINTR) {
    result = call();
  }
  return result;
}

int Flush(const std::string& path, int flags) {
  const int file = Repeated([&] { return open(path.c_str(), flags | O_CLOEXEC); });
  if (file < 0) {
    return errno;
  }
  // A file system that cannot flush (EINVAL) has nothing to lose by it.
  const int error = Repeated([&] { return fsync(file); }) == 0 || errno == EINVAL ? 0 : errno;
  // The file is closed even where close was interrupted.
  return close(file) == 0 || errno == EINTR || error != 0 ? error : errno;
}

}  // namespace

int FlushFile(const std::string& path) { return Flush(path, O_RDONLY); }

int FlushFolder(const std::string& path) {
  const int error = Flush(path, O_RDONLY | O_DIRECTORY);
  return error == EACCES ? 0 : error;  // a folder may take names and not be read
}

int RenameOver(const std::string& from, const std::string& to) {
  return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

void CopyAttributes(const std::string& from, const std::string& to) {
  struct stat old {};
  if (stat(from.c_str(), &old) != 0) {
    return;
  }
  // The owner first: a change of owner may take mode bits away.
  if (chown(to.c_str(), old.st_uid, old.st_gid) != 0) {
    // Only root may give a file away; the group may be one of the user's own all the same.
    if (chown(to.c_str(), static_cast<uid_t>(-1), old.st_gid) != 0) {
      errno = 0;
    }
  }
  if (chmod(to.c_str(), old.st_mode & 07777) != 0) {
    errno = 0;
  }
}

int CheckWritable(const std::string& path) { return access(path.c_str(), W_OK) == 0 ? 0 : errno; }

int LastError() { return errno; }

}  // namespace files
