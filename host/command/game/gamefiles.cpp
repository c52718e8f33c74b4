#include "command/game/gamefiles.h"

#include <algorithm>

#include "binary/directory.h"
#include "command/files/paths.h"
#include "command/game/gamepath.h"

namespace command {

std::string gamefiles::Find(const std::string& path) {
  if (!StaysBelow(path)) {
    return {};
  }
  const std::string slashed = Slashed(path);
  for (const std::string& folder : folders_) {
    if (std::string found = FindBelow(folder, slashed); !found.empty()) {
      return found;
    }
  }
  return {};
}

std::string gamefiles::FindBelow(const std::string& directory, std::string_view path) {
  const std::size_t slash = path.find('/');
  const std::string name(path.substr(0, slash));
  const listing& names = NamesOf(directory);
  const auto found = names.find(Folded(name));
  if (found == names.end()) {
    return {};
  }
  // References into the map of listings stay valid while it grows.
  for (const bool exact : {true, false}) {
    for (const std::string& entry : found->second) {
      if ((entry == name) != exact) {
        continue;
      }
      std::string here = directory;
      here.append(directory.ends_with('/') ? "" : "/").append(entry);
      if (slash != std::string_view::npos) {
        here = FindBelow(here, path.substr(slash + 1));
      } else if (EntryAt(here) != diskentry::File) {
        here.clear();
      }
      if (!here.empty()) {
        return here;
      }
    }
  }
  return {};
}

const gamefiles::listing& gamefiles::NamesOf(const std::string& directory) {
  const auto [place, fresh] = listings_.try_emplace(directory);
  if (fresh) {
    for (std::string& name : NamesIn(directory)) {
      place->second[Folded(name)].push_back(std::move(name));
    }
    for (auto& [folded, names] : place->second) {
      std::ranges::sort(names);
    }
  }
  return place->second;
}

}  // namespace command
