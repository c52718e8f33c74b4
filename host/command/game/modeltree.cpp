#include "command/game/modeltree.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <type_traits>
#include <utility>

#include "binary/directory.h"
#include "binary/loadfile.h"
#include "command/failure.h"
#include "command/files/paths.h"
#include "command/files/readers.h"
#include "command/files/sequencefile.h"
#include "command/finish/gameimages.h"
#include "command/game/gamepath.h"
#include "command/game/skinrows.h"
#include "core/state.h"
#include "core/utf8path.h"
#include "gltf/read/resources.h"

namespace command {

namespace {

// What images may come to before those of skins that are not worn are left out: as many as a
// character of a game has many times over, and little beside what a browser takes.
constexpr std::uint64_t kUnwornBytes = std::uint64_t{64} << 20;

void AddShaders(filekind kind, const std::vector<std::uint8_t>& content,
                std::vector<std::string>& to) {
  WithReader(kind, [&]<class File>(File&& file) {
    if constexpr (std::is_base_of_v<skelmesh, File>) {
      if (file.Parse({content.data(), content.size()})) {
        for (const auto& each : file.surfaces) {
          to.emplace_back(NameText(each.surface->shader).data());
        }
      }
    }
  });
}

std::string DirectoryOf(const std::string& path) {
  return path.substr(0, path.size() - LastName(path).size());
}

// The files beside it that a .gltf names. Whether it is whole is told where it is shown.
std::vector<std::string> FilesNamedBy(const std::vector<std::uint8_t>& text) {
  std::vector<std::string> names;
  nlohmann::json document;
  try {
    document = nlohmann::json::parse(text.data(), text.data() + text.size());
  } catch (const nlohmann::json::exception&) {
    return names;
  }
  for (const char* list : {"buffers", "images"}) {
    const auto entries = document.find(list);
    if (entries == document.end()) {
      continue;
    }
    for (const nlohmann::json& entry : *entries) {
      const auto uri = entry.find("uri");
      if (uri == entry.end()) {
        continue;
      }
      if (const auto* const named = uri->get_ptr<const std::string*>();
          named != nullptr && !gltf::IsDataUri(*named)) {
        names.push_back(gltf::WithoutEscapes(*named));
      }
    }
  }
  return names;
}

}  // namespace

modeltree::game& modeltree::GameOf(const std::string& fullPath) {
  const std::string folder = GameFoldersOf(fullPath).front();
  const auto known = std::ranges::find(games_, folder, &game::folder);
  if (known != games_.end()) {
    return *known;
  }
  game made;
  made.folder = folder;
  if (!games_.empty()) {
    made.prefix = std::to_string(games_.size() + 1) + "/";
  }
  if (FoldersAboveModels(fullPath).empty()) {
    made.beside = folder;
  }
  made.files = std::make_unique<gamefiles>(ImageFolders(fullPath, gameFolders_));
  return games_.emplace_back(std::move(made));
}

void modeltree::Add(const std::string& path, std::vector<std::uint8_t> content) {
  if (taken_.insert(Folded(path)).second) {
    bytes_ += content.size();
    files_.push_back({path, std::move(content)});
  }
}

void modeltree::AddFrom(const std::string& from, const std::string& path) {
  if (!AddIfThere(from, path)) {
    throw failure(from, "cannot be read");
  }
}

bool modeltree::AddIfThere(const std::string& from, const std::string& path) {
  loadedfile loaded;
  if (!LoadWholeFile(from.c_str(), loaded)) {
    return false;
  }
  Add(path, {loaded.data.get(), loaded.data.get() + loaded.size});
  return true;
}

std::string modeltree::AddModel(const std::string& model, const std::string& mdx) {
  const std::string full = Slashed(FullPath(model));
  const game& of = GameOf(full);
  const std::string below = of.beside.empty() ? DirectoryOf(GamePath(full)) : std::string();
  const std::string folder = of.prefix + below;
  std::string path = folder + LastName(full);
  const filekind kind = KindOf(full);
  AddFrom(full, path);
  // Of a model that was there before, what came last is looked at, which adds nothing new.
  AddShaders(kind, files_.back().content, shaders_);
  if (FormatOf(kind).IsPair()) {
    const std::string skeleton = FullPath(SkeletonOf(full, mdx));
    AddFrom(skeleton, WithSuffix(path, ".mdx"));
    AddIfThere(SequenceFileOf(skeleton, filekind::Mdx), WithSuffix(path, ".aninc"));
  } else if (IsSkeletal(kind)) {
    const std::string sequences = SequenceFileOf(full, kind);
    AddIfThere(sequences, folder + LastName(sequences));
  }
  if (IsSkeletal(kind)) {
    const std::string directory = DirectoryOf(full);
    std::vector<std::string> names = NamesIn(directory);
    std::ranges::sort(names);
    for (const std::string& name : names) {
      if (SuffixOf(name) == "skin") {
        AddIfThere(directory + name, folder + name);
        for (const auto& [surface, row] : ReadSkinRows(directory + name).bySurface) {
          shaders_.push_back(row.path);
        }
      }
    }
  }
  return path;
}

void modeltree::AddImage(game& of, const std::string& wanted) {
  for (const std::string& name : ImageNames(Slashed(wanted))) {
    const gamefile found = of.files->Find(name);
    std::string fault;
    if (found.within != nullptr) {
      if (auto content = of.files->Read(found, fault)) {
        Add(of.prefix + name, std::move(*content));
      }
    } else if (!found.place.empty()) {
      AddIfThere(found.place, of.prefix + name);
    } else if (!of.beside.empty()) {
      const std::string last = LastName(name);
      if (const std::string place = of.files->FindBelow(of.beside, last); !place.empty()) {
        AddIfThere(place, of.prefix + last);
      }
    }
  }
}

bool modeltree::AddImages(const core::scene& scene) {
  std::unordered_set<std::string> seen;
  const auto add = [&](const std::string& wanted) {
    if (!NamesNothing(wanted) && seen.insert(Folded(wanted)).second) {
      for (game& each : games_) {
        AddImage(each, wanted);
      }
    }
  };
  for (const cmaterial* material : scene.Materials()) {
    add(material->State().gamePath);
  }
  const std::uint64_t worn = bytes_;
  return std::ranges::all_of(shaders_, [&](const std::string& shader) {
    add(shader);
    return bytes_ - worn <= kUnwornBytes;
  });
}

std::string modeltree::AddScene(const std::string& path) {
  const std::string full = Slashed(FullPath(path));
  const std::string directory = DirectoryOf(full);
  AddFrom(full, LastName(full));
  if (SuffixOf(full) == "gltf") {
    for (const std::string& name : FilesNamedBy(files_.back().content)) {
      if (StaysBelow(name)) {
        AddIfThere(directory + name, name);
      }
    }
  }
  return LastName(full);
}

std::string modeltree::AddFile(const std::string& path) {
  std::string name = "options/" + LastName(path);
  AddFrom(path, name);
  return name;
}

}  // namespace command
