#include "command/game/shaderpaths.h"

#include <algorithm>

#include "command/files/paths.h"
#include "command/game/gamepath.h"
#include "core/state.h"

namespace command {

namespace {

// Without the number that programs put behind a name that was taken, as in "face.001".
std::string WithoutNumber(const std::string& name) {
  const std::size_t dot = name.rfind('.');
  const bool numbered = dot != std::string::npos && dot + 1 < name.size() &&
                        std::all_of(name.begin() + static_cast<std::ptrdiff_t>(dot) + 1, name.end(),
                                    [](char c) { return c >= '0' && c <= '9'; });
  return numbered ? name.substr(0, dot) : name;
}

// The games read no PNG, and programs put its suffix behind another.
std::string WithGameSuffix(const std::string& path) {
  if (!Folded(path).ends_with(".png")) {
    return path;
  }
  const std::string stem = WithoutImageSuffix(path);
  return HasImageSuffix(stem) ? stem : stem + ".tga";
}

std::string SuffixFor(const core::imagestate& image) {
  const std::string folded = Folded(WithGameSuffix(image.path));
  const bool jpeg = image.content != nullptr && image.content->mimeType == "image/jpeg";
  return folded.ends_with(".tga") || (!jpeg && !folded.ends_with(".jpg")) ? ".tga" : ".jpg";
}

std::string Named(const std::string& name, const core::imagestate& image) {
  // Import names an image that it found for a path without suffix by the whole path.
  const bool asItIs =
      HasImageSuffix(name) || NamesNothing(image.path) || WithoutImageSuffix(image.path) == name;
  return WithGameSuffix(asItIs ? name : name + SuffixFor(image));
}

std::string ShaderPath(const core::materialstate& state, const std::string& folder) {
  const core::imagestate& image = state.image.State();
  const std::string name = WithoutNumber(Slashed(state.name.data()));
  if (!state.gamePath.empty()) {
    return GamePath(state.gamePath);
  }
  if (name.find('/') != std::string::npos) {
    return Named(name, image);
  }
  if (!FoldersAboveModels("/" + image.path).empty()) {
    return WithGameSuffix(GamePath(image.path));
  }
  if (folder.empty() || name.empty()) {
    return {};
  }
  return Named(Slashed(folder) + (folder.ends_with('/') ? "" : "/") + name, image);
}

}  // namespace

void SetShaderPaths(core::scene& scene, const std::string& folder) {
  for (cmaterial* material : scene.Materials()) {
    if (const std::string path = ShaderPath(material->State(), folder); !path.empty()) {
      material->State().gamePath = path;
      material->GetImage(0)->SetPathName(path.c_str());
    }
  }
}

}  // namespace command
