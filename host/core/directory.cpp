#include "core/directory.h"

#include <dirent.h>

#include <memory>
#include <utility>

namespace core {

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

}  // namespace core
