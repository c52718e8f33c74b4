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

bool Set(const namefield<64>& shader, cnode& surface) {
  const std::string path = PathInGame(surface);
  namefield<64> wanted{};
  SetName(wanted, path.c_str());
  if (path.empty() || wanted == shader) {
    return false;
  }
  Changed(shader) = wanted;
  return true;
}

}  // namespace

std::string PathInGame(cnode& surface) {
  const cmaterial* const material = surface.GetMaterial();
  const std::string path = material == nullptr ? "" : Folded(material->State().gamePath);
  return path.find('/') == std::string::npos ? "" : path;
}

bool SetShaders(const cmdcfile& file, const core::scene& scene) {
  const std::vector<cnode*> surfaces = SurfacesOf(scene);
  bool changed = false;
  for (std::size_t s = 0; s < std::min(surfaces.size(), file.surfaces.size()); ++s) {
    if (file.surfaces[s].numShaders > 0) {
      changed = Set(file.surfaces[s].shaders[0].name, *surfaces[s]) || changed;
    }
  }
  return changed;
}

bool SetShaders(const skelmesh& file, const core::scene& scene) {
  const std::vector<cskin*> skins = SkinsOf(scene);
  bool changed = false;
  for (std::size_t s = 0; s < std::min(skins.size(), file.surfaces.size()); ++s) {
    changed = Set(file.surfaces[s].surface->shader, *skins[s]) || changed;
  }
  return changed;
}

}  // namespace command
