#include "command/finish/gameimages.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "command/files/paths.h"
#include "command/wording.h"
#include "core/state.h"
#include "core/utf8path.h"

namespace command {

namespace {

constexpr std::array<std::string_view, 3> kSuffixes{".tga", ".jpg", ".png"};

// Where the last folder "models" of a path begins, in any case of letters.
std::size_t ModelsAt(const std::string& path) {
  const std::string folded = Folded(path);
  constexpr std::string_view kFolder = "models";
  for (std::size_t at = folded.rfind(kFolder); at != std::string::npos;
       at = at == 0 ? std::string::npos : folded.rfind(kFolder, at - 1)) {
    const std::size_t behind = at + kFolder.size();
    const auto separates = [&](std::size_t i) { return folded[i] == '/' || folded[i] == '\\'; };
    if ((at == 0 || separates(at - 1)) && behind < folded.size() && separates(behind)) {
      return at;
    }
  }
  return std::string::npos;
}

// From the folder models on, which games look for in their own; the whole where there is none.
std::string GamePath(const std::string& path) {
  const std::size_t folder = ModelsAt(path);
  return folder == std::string::npos ? path : path.substr(folder);
}

// The name under its own suffix and under those that images have.
std::vector<std::string> Names(const std::string& path) {
  std::vector<std::string> names{path};
  const std::size_t dot = path.find_last_of("./\\");
  const bool suffixed = dot != std::string::npos && path[dot] == '.';
  for (const std::string_view suffix : kSuffixes) {
    std::string name = suffixed ? path.substr(0, dot) : path;
    name.append(suffix);
    if (name != path) {
      names.push_back(name);
    }
  }
  return names;
}

bool LoadFrom(const std::vector<std::string>& folders, const std::string& path, cimage& image) {
  for (const std::string& folder : folders) {
    for (const std::string& name : Names(path)) {
      std::string tried = folder;
      tried.append("/").append(name);
      if (image.Load(tried.c_str()) != 0) {
        return true;
      }
    }
  }
  return false;
}

}  // namespace

void FindGameImages(console& out, const std::string& path,
                    const std::vector<std::string>& gameFolders, core::scene& scene) {
  std::vector<std::string> folders(gameFolders.rbegin(), gameFolders.rend());
  const std::string whole = FullPath(path);
  if (const std::size_t models = ModelsAt(whole); models != std::string::npos && models > 0) {
    folders.push_back(whole.substr(0, models - 1));
  }
  std::vector<std::string> missing;
  std::int64_t named = 0;
  for (cmaterial* material : scene.Materials()) {
    const std::string asked = material->GetImage(0)->State().path;
    if (Folded(asked) == kNoImagePath) {
      continue;
    }
    ++named;
    if (material->GetImage(0)->State().content != nullptr) {
      continue;
    }
    const std::string wanted =
        GamePath(material->State().gamePath.empty() ? asked : material->State().gamePath);
    cimage image;
    // What no game knows lies where it says or nowhere.
    const bool within = core::PathOf(wanted).is_relative();
    if (within && LoadFrom(folders, wanted, image)) {
      image.State().path = asked;
      material->SetImage(image, 0);
    } else {
      missing.push_back(within && !folders.empty() ? folders.back() + "/" + wanted : wanted);
    }
  }
  if (!missing.empty()) {
    out.Warning(path, std::to_string(named - std::ssize(missing)) + " of " +
                          Counted(named, "image") +
                          " found; not there as .tga, .jpg or .png: " + JoinedFew(missing) +
                          (gameFolders.empty() ? "; --game-dir names further folders"
                                               : "; looked in " + Joined(folders) + " too"));
  }
}

}  // namespace command
