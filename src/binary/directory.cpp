#include "binary/directory.h"

#include <dirent.h>
#include <sys/stat.h>

#include <memory>
#include <utility>

diskentry EntryAt(const std::string& path) {
  struct stat found {};
  if (stat(path.c_str(), &found) != 0) {
    return diskentry::None;
  }
  if (S_ISREG(found.st_mode)) {
    return diskentry::File;
  }
  return S_ISDIR(found.st_mode) ? diskentry::Directory : diskentry::Other;
}

std::vector<std::string> NamesIn(const std::string& directory) {
  const auto close = [](DIR* stream) { closedir(stream); };
  const std::unique_ptr<DIR, decltype(close)> stream(opendir(directory.c_str()), close);
  std::vector<std::string> names;
  while (const dirent* entry = stream ? readdir(stream.get()) : nullptr) {
    std::string name = entry->d_name;
    if (name != "." && name != "..") {
      names.push_back(std::move(name));
    }
  }
  return names;
}
