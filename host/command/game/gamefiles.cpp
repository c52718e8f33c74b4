#include "command/game/gamefiles.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "binary/directory.h"
#include "command/files/paths.h"
#include "command/game/gamepath.h"
#include "command/wording.h"

namespace command {

namespace {

std::string Joint(const std::string& directory, const std::string& name) {
  return directory + (directory.ends_with('/') ? "" : "/") + name;
}

}  // namespace

gamefile gamefiles::Find(const std::string& path) {
  if (!StaysBelow(path)) {
    return {};
  }
  const std::string slashed = Slashed(path);
  for (const std::string& folder : folders_) {
    for (const opened& each : ArchivesOf(folder)) {
      if (const auto entry = each.content->Find(slashed)) {
        return {each.path + ": " + slashed, each.content.get(), *entry};
      }
    }
    if (std::string found = FindBelow(folder, slashed); !found.empty()) {
      return {std::move(found)};
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
      std::string here = Joint(directory, entry);
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

std::optional<std::vector<std::uint8_t>> gamefiles::Read(const gamefile& file, std::string& fault) {
  return file.within->Read(file.entry, left_, fault);
}

std::vector<std::string> gamefiles::Places() {
  std::vector<std::string> places;
  for (const std::string& folder : folders_) {
    const auto archives = std::ssize(ArchivesOf(folder));
    places.push_back(archives == 0 ? folder
                                   : folder + " and its " + Counted(archives, "pk3 archive"));
  }
  return places;
}

const std::vector<gamefiles::opened>& gamefiles::ArchivesOf(const std::string& folder) {
  const auto [place, fresh] = archives_.try_emplace(folder);
  if (!fresh) {
    return place->second;
  }
  std::vector<std::pair<std::string, std::string>> paths;
  for (const auto& [folded, names] : NamesOf(folder)) {
    for (const std::string& name : names) {
      if (folded.ends_with(".pk3") && EntryAt(Joint(folder, name)) == diskentry::File) {
        paths.emplace_back(folded, Joint(folder, name));
      }
    }
  }
  std::ranges::sort(paths, std::ranges::greater());
  for (const auto& [folded, path] : paths) {
    std::string fault;
    if (auto content = archive::Open(path, fault)) {
      place->second.push_back({path, std::move(content)});
    } else {
      refused_.push_back({path, fault});
    }
  }
  return place->second;
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
