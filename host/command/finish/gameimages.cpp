#include "command/finish/gameimages.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "command/files/paths.h"
#include "command/game/gamefiles.h"
#include "command/game/gamepath.h"
#include "command/wording.h"
#include "core/decode.h"
#include "core/findfile.h"
#include "core/state.h"
#include "core/utf8path.h"

namespace command {

namespace {

// Lines for missing images.
constexpr std::ptrdiff_t kMostLines = 10;

bool SameFolder(const std::string& a, const std::string& b) {
  std::error_code error;
  return a == b || std::filesystem::equivalent(core::PathOf(a), core::PathOf(b), error);
}

class imagesearch {
 public:
  imagesearch(const std::string& model, const std::vector<std::string>& gameFolders)
      : files_(ImageFolders(model, gameFolders)) {
    if (FoldersAboveModels(model).empty()) {
      beside_ = core::PathOf(model).parent_path().string();
    }
  }

  // Whether the image has content afterwards. What the handler loaded stays where it is of the
  // same file, and where nothing is found.
  bool Load(const std::string& path, cimage& image) {
    unreadable_.clear();
    const std::vector<std::string> names = ImageNames(path);
    return std::ranges::any_of(
               names, [&](const std::string& name) { return Take(files_.Find(name), image); }) ||
           (!beside_.empty() &&
            std::ranges::any_of(names,
                                [&](const std::string& name) {
                                  return Take({files_.FindBelow(beside_, LastName(name))}, image);
                                })) ||
           image.State().content != nullptr;
  }

  std::string Places() {
    return "in " + Joined(files_.Places()) + (beside_.empty() ? "" : ", nor beside the model");
  }
  const std::vector<gamefiles::refusal>& Refused() const { return files_.Refused(); }
  // What is wrong with a file under one of the last image's names; "" for nothing.
  const std::string& Unreadable() const { return unreadable_; }

 private:
  bool Take(const gamefile& file, cimage& image) {
    if (file.place.empty()) {
      return false;
    }
    std::shared_ptr<const core::pixels>& content = image.State().content;
    if (content != nullptr && core::FindFile(image.State().path) == file.place) {
      return true;
    }
    std::weak_ptr<const core::pixels>& known = loaded_[file.place];
    std::shared_ptr<const core::pixels> found = known.lock();
    std::string fault = "is not an image";
    if (found == nullptr) {
      known = found = Decoded(file, fault);
    }
    if (found == nullptr) {
      unreadable_ = file.place + " " + fault;
      return false;
    }
    content = std::move(found);
    return true;
  }

  std::shared_ptr<const core::pixels> Decoded(const gamefile& file, std::string& fault) {
    if (file.within == nullptr) {
      cimage loaded;
      loaded.Load(file.place.c_str());
      return loaded.State().content;
    }
    auto bytes = files_.Read(file, fault);
    return bytes ? core::DecodeImage(std::move(*bytes)) : nullptr;
  }

  gamefiles files_;
  // By place, while a material has it: many may name one.
  std::unordered_map<std::string, std::weak_ptr<const core::pixels>> loaded_;
  std::string beside_;  // the model's own directory, where it lies in no models folder
  std::string unreadable_;
};

std::unordered_set<const cmaterial*> WornMaterials(const core::scene& scene) {
  std::unordered_set<const cmaterial*> worn;
  for (cnode* node : scene.Nodes()) {
    worn.insert(node->GetMaterial());
  }
  return worn;
}

// "" for none.
std::string PathInGame(const cmaterial& material) {
  const core::materialstate& state = material.State();
  const std::string& path = state.image.State().path;
  return !state.gamePath.empty() ? state.gamePath : NamesNothing(path) ? "" : GamePath(path);
}

void TellRefused(console& out, const std::vector<gamefiles::refusal>& refused) {
  for (const gamefiles::refusal& each : refused) {
    out.Warning(each.path, "is skipped: " + each.fault);
    if (!ReadsArchives()) {
      return;  // one for all
    }
  }
}

}  // namespace

std::vector<std::string> ImageFolders(const std::string& model,
                                      const std::vector<std::string>& gameFolders) {
  std::vector<std::string> folders(gameFolders.rbegin(), gameFolders.rend());
  const std::vector<std::string> own = GameFoldersOf(model);
  for (std::size_t i = 0; i < own.size(); ++i) {
    if (std::ranges::none_of(folders, [&](const auto& each) { return SameFolder(each, own[i]); })) {
      folders.insert(i == 0 ? folders.begin() : folders.end(), own[i]);
    }
  }
  return folders;
}

void SetGamePaths(core::scene& scene) {
  std::unordered_map<std::string, int> uses;
  for (cmaterial* material : scene.Materials()) {
    if (const std::string path = PathInGame(*material); !path.empty()) {
      material->State().gamePath = path;
      material->GetImage(0)->SetPathName(path.c_str());
      std::string name = WithoutImageSuffix(path);
      if (const int used = uses[name]++; used > 0) {
        name.append(".").append(std::to_string(used));
      }
      material->SetName(name.c_str());
    }
  }
}

void FindGameImages(console& out, const std::string& path,
                    const std::vector<std::string>& gameFolders, const imagesources& sources,
                    core::scene& scene) {
  imagesearch search(FullPath(path), gameFolders);
  const std::unordered_set<const cmaterial*> worn = WornMaterials(scene);
  std::vector<std::string> missing;
  std::int64_t named = 0;
  for (cmaterial* material : scene.Materials()) {
    const std::string wanted = PathInGame(*material);
    if (wanted.empty() || !worn.contains(material)) {
      continue;
    }
    ++named;
    if (!search.Load(wanted, *material->GetImage(0))) {
      const auto source = sources.find(material);
      const std::string of = source == sources.end() ? "" : " (" + source->second + ")";
      missing.push_back(wanted + of +
                        (search.Unreadable().empty()
                             ? " is not found as .tga, .jpg or .png " + search.Places()
                             : ": " + search.Unreadable()));
    }
  }
  TellRefused(out, search.Refused());
  if (named == 0) {
    return;
  }
  const std::string count =
      std::to_string(named - std::ssize(missing)) + " of " + Counted(named, "image") + " found";
  if (missing.empty()) {
    out.Note(path, count);
    return;
  }
  out.Warning(path, count + (gameFolders.empty() ? "; --game-dir names further folders" : ""));
  for (std::ptrdiff_t i = 0; i < std::min(std::ssize(missing), kMostLines); ++i) {
    out.Warning(path, missing[static_cast<std::size_t>(i)]);
  }
  if (std::ssize(missing) > kMostLines) {
    out.Warning(path, "and " + std::to_string(std::ssize(missing) - kMostLines) +
                          " more images are not found");
  }
}

}  // namespace command
