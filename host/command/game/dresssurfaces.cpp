#include "command/game/dresssurfaces.h"

#include <new>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "command/files/readers.h"
#include "command/finish/openmodel.h"
#include "command/game/gamepath.h"
#include "command/game/skinrows.h"
#include "command/surfaces.h"
#include "core/state.h"

namespace command {

namespace {

class dresser {
 public:
  dresser(core::scene& scene, std::unordered_map<std::string, std::string> rows)
      : scene_(scene), rows_(std::move(rows)) {}

  void Dress(cnode& node, const skelSurface& surface) {
    const auto row = rows_.find(Folded(NameText(surface.name).data()));
    const std::string path =
        row != rows_.end() ? row->second : Slashed(NameText(surface.shader).data());
    if (NamesNothing(path)) {
      return;
    }
    const auto [place, fresh] = byPath_.try_emplace(Folded(WithoutImageSuffix(path)), nullptr);
    if (fresh) {
      place->second = MaterialFor(node);
      place->second->State().gamePath = path;
    }
    node.SetMaterial(place->second);
  }

 private:
  // The handler's, unless it is that of another path too.
  cmaterial* MaterialFor(cnode& node) {
    cmaterial* const own = node.GetMaterial();
    if (own != nullptr && taken_.insert(own).second) {
      return own;
    }
    cmaterial* const made = CreateNewMaterial();
    if (made == nullptr) {
      throw std::bad_alloc();
    }
    scene_.Add(made);
    return made;
  }

  core::scene& scene_;
  std::unordered_map<std::string, std::string> rows_;
  std::unordered_map<std::string, cmaterial*> byPath_;
  std::unordered_set<cmaterial*> taken_;
};

void Dress(const std::vector<cnode*>& nodes, const skelmesh& file, const std::string& skin,
           core::scene& scene) {
  if (nodes.size() != file.surfaces.size()) {
    return;
  }
  dresser dress(scene,
                skin.empty() ? std::unordered_map<std::string, std::string>() : ReadSkinRows(skin));
  for (std::size_t s = 0; s < nodes.size(); ++s) {
    dress.Dress(*nodes[s], *file.surfaces[s].surface);
  }
}

}  // namespace

void DressSurfaces(const std::string& path, filekind kind, const std::string& skin,
                   core::scene& scene) {
  const std::vector<cnode*> nodes = SurfacesOf(scene);
  if (nodes.empty()) {
    return;
  }
  WithReader(kind, [&]<class File>(File&& file) {
    if constexpr (std::is_base_of_v<skelmesh, File>) {
      if (LoadAgain(path, path, file)) {
        Dress(nodes, file, skin, scene);
      }
    }
  });
}

}  // namespace command
