#include "command/finish/shaders.h"

#include <algorithm>
#include <string>
#include <vector>

#include "command/files/paths.h"
#include "command/finish/openmodel.h"
#include "command/surfaces.h"
#include "core/state.h"

namespace command {

namespace {

// The path of each surface; "" where the handler's stays.
template <class Node>
std::vector<std::string> PathsOf(const std::vector<Node*>& surfaces) {
  std::vector<std::string> paths;
  for (cnode* node : surfaces) {
    const cmaterial* const material = node->GetMaterial();
    const std::string path = material == nullptr ? "" : Folded(material->State().gamePath);
    paths.push_back(path.find('/') == std::string::npos ? "" : path);
  }
  return paths;
}

template <std::size_t Size>
bool Set(const namefield<Size>& shader, const std::string& path) {
  namefield<Size> wanted{};
  SetName(wanted, path.c_str());
  if (path.empty() || wanted == shader) {
    return false;
  }
  Changed(shader) = wanted;
  return true;
}

}  // namespace

bool SetShaders(const cmdcfile& file, const core::scene& scene) {
  const std::vector<std::string> paths = PathsOf(SurfacesOf(scene));
  bool changed = false;
  for (std::size_t s = 0; s < std::min(paths.size(), file.surfaces.size()); ++s) {
    if (file.surfaces[s].numShaders > 0) {
      changed = Set(file.surfaces[s].shaders[0].name, paths[s]) || changed;
    }
  }
  return changed;
}

bool SetShaders(const skelmesh& file, const core::scene& scene) {
  const std::vector<std::string> paths = PathsOf(SkinsOf(scene));
  bool changed = false;
  for (std::size_t s = 0; s < std::min(paths.size(), file.surfaces.size()); ++s) {
    changed = Set(file.surfaces[s].surface->shader, paths[s]) || changed;
  }
  return changed;
}

}  // namespace command
