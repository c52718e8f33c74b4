#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace command {

// The files of a game's folders, found as the games find them: in any case of letters, in the first
// folder that has the name. Each directory is listed once, when it is first looked into.
class gamefiles {
 public:
  // The folder that wins comes first.
  explicit gamefiles(std::vector<std::string> folders) : folders_(std::move(folders)) {}

  // The file of that path below a folder; "" where there is none, and for a path that leads out.
  std::string Find(const std::string& path);
  // Below one directory alone.
  std::string FindBelow(const std::string& directory, std::string_view path);

  const std::vector<std::string>& Folders() const { return folders_; }

 private:
  // The names of a directory by their folded form: more than one where they differ in case alone.
  using listing = std::unordered_map<std::string, std::vector<std::string>>;

  const listing& NamesOf(const std::string& directory);

  std::vector<std::string> folders_;
  std::unordered_map<std::string, listing> listings_;
};

}  // namespace command
