#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "command/game/archive.h"

namespace command {

// A file on the disk or in an archive of a game.
struct gamefile {
  std::string place;  // "" for none; of a file in an archive "ARCHIVE: PATH"
  const archive* within = nullptr;
  std::uint64_t entry = 0;
};

// The files of a game's folders, found as the games find them: in any case of letters, in the first
// folder that has the name, and there in the .pk3 archives, the last by name first, before the
// folder itself. A directory is listed and an archive opened once, when first looked into.
class gamefiles {
 public:
  // The folder that wins comes first.
  explicit gamefiles(std::vector<std::string> folders) : folders_(std::move(folders)) {}

  // None, too, for a path that leads out of the folders.
  gamefile Find(const std::string& path);
  // The file of that path below one directory, archives aside; "" for none.
  std::string FindBelow(const std::string& directory, std::string_view path);
  // A file of an archive; none, with what is wrong, where it does not hold.
  std::optional<std::vector<std::uint8_t>> Read(const gamefile& file, std::string& fault);

  // The folders, with the number of archives in those that have some.
  std::vector<std::string> Places();
  // Archives that cannot be read, and why.
  struct refusal {
    std::string path;
    std::string fault;
  };
  const std::vector<refusal>& Refused() const { return refused_; }

 private:
  // The names of a directory by their folded form: more than one where they differ in case alone.
  using listing = std::unordered_map<std::string, std::vector<std::string>>;

  const listing& NamesOf(const std::string& directory);
  struct opened {
    std::string path;
    std::unique_ptr<archive> content;
  };
  const std::vector<opened>& ArchivesOf(const std::string& folder);

  std::vector<std::string> folders_;
  std::unordered_map<std::string, listing> listings_;
  std::unordered_map<std::string, std::vector<opened>> archives_;
  archive::budget left_ = archive::kBudget;
  std::vector<refusal> refused_;
};

}  // namespace command
