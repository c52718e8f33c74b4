#include "command/game/gamepath.h"

#include <algorithm>
#include <array>

#include "command/files/paths.h"
#include "core/utf8path.h"
#include "plugin/host/materials.h"

namespace command {

namespace {

constexpr std::array<std::string_view, 3> kSuffixes{".tga", ".jpg", ".png"};

// Where each folder models of a folded path with forward slashes begins, the last first.
std::vector<std::size_t> ModelsFolders(const std::string& folded) {
  constexpr std::string_view kFolder = "models/";
  std::vector<std::size_t> found;
  std::size_t from = std::string::npos;
  while ((from = folded.rfind(kFolder, from)) != std::string::npos) {
    if (from == 0 || folded[from - 1] == '/') {
      found.push_back(from);
    }
    if (from-- == 0) {
      break;
    }
  }
  return found;
}

}  // namespace

std::string Slashed(std::string path) {
  std::ranges::replace(path, '\\', '/');
  return path;
}

std::string GamePath(const std::string& path) {
  const std::string slashed = Slashed(path);
  const std::vector<std::size_t> folders = ModelsFolders(Folded(slashed));
  return folders.empty() ? slashed : slashed.substr(folders.front());
}

std::vector<std::string> FoldersAboveModels(const std::string& path) {
  const std::string slashed = Slashed(path);
  std::vector<std::string> above;
  for (const std::size_t at : ModelsFolders(Folded(slashed))) {
    if (at > 0) {
      above.push_back(at == 1 ? "/" : slashed.substr(0, at - 1));
    }
  }
  return above;
}

std::vector<std::string> GameFoldersOf(const std::string& path) {
  std::vector<std::string> folders = FoldersAboveModels(path);
  if (folders.empty()) {
    folders.push_back(core::PathOf(path).parent_path().string());
  }
  return folders;
}

std::string LastName(const std::string& path) { return path.substr(path.find_last_of("/\\") + 1); }

bool HasImageSuffix(const std::string& path) {
  const std::string folded = Folded(path);
  return folded.ends_with(".jpeg") ||
         std::ranges::any_of(kSuffixes, [&](auto suffix) { return folded.ends_with(suffix); });
}

std::string WithoutImageSuffix(const std::string& path) {
  return HasImageSuffix(path) ? path.substr(0, path.rfind('.')) : path;
}

bool StaysBelow(const std::string& path) {
  const std::string slashed = "/" + Slashed(path) + "/";
  return slashed.find("/../") == std::string::npos && slashed[1] != '/' &&
         slashed.find(':') == std::string::npos && core::PathOf(path).is_relative();
}

std::vector<std::string> ImageNames(const std::string& path) {
  std::vector<std::string> names{path};
  const auto add = [&](const std::string& stem) {
    for (const std::string_view suffix : kSuffixes) {
      std::string name = stem;
      name.append(suffix);
      if (std::ranges::find(names, name) == names.end()) {
        names.push_back(std::move(name));
      }
    }
  };
  add(WithoutImageSuffix(path));
  if (!HasImageSuffix(path)) {
    const std::size_t dot = path.find_last_of("./\\");
    if (dot != std::string::npos && path[dot] == '.') {
      add(path.substr(0, dot));
    }
  }
  return names;
}

bool NamesNothing(const std::string& shader) {
  const std::string folded = Folded(shader);
  return folded.empty() || folded == "(null)" || folded == kNoImagePath;
}

}  // namespace command
