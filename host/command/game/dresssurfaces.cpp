#include "command/game/dresssurfaces.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <new>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "command/failure.h"
#include "command/files/readers.h"
#include "command/finish/openmodel.h"
#include "command/game/gamepath.h"
#include "command/game/skinrows.h"
#include "command/surfaces.h"
#include "command/wording.h"
#include "core/state.h"

namespace command {

namespace {

class dresser {
 public:
  dresser(core::scene& scene, const std::string& skin, const skinrows& rows)
      : scene_(scene), skin_(skin), rows_(rows.bySurface) {}

  void Dress(cnode& node, const skelSurface& surface) {
    const auto row = rows_.find(Folded(NameText(surface.name).data()));
    const bool dressed = row != rows_.end();
    const std::string path = dressed ? row->second.path : Slashed(NameText(surface.shader).data());
    if (NamesNothing(path)) {
      return;
    }
    const auto [place, fresh] = byPath_.try_emplace(Folded(WithoutImageSuffix(path)), nullptr);
    if (fresh) {
      place->second = MaterialFor(node);
      place->second->State().gamePath = path;
      if (dressed) {
        sources_.emplace(place->second,
                         LastName(skin_) + ", line " + std::to_string(row->second.line));
      }
    }
    node.SetMaterial(place->second);
  }

  const imagesources& Sources() const { return sources_; }

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
  const std::string& skin_;
  const std::unordered_map<std::string, skinrow>& rows_;
  std::unordered_map<std::string, cmaterial*> byPath_;
  std::unordered_set<cmaterial*> taken_;
  imagesources sources_;
};

skinrows RowsOf(console& out, const std::string& skin) {
  if (skin.empty()) {
    return {};
  }
  skinrows rows = ReadSkinRows(skin);
  if (!rows.whole) {
    try {
      RequireReadable(skin);
      out.Warning(skin, "not read: it cannot be read to its end");
    } catch (const failure& why) {
      out.Warning(skin, std::string("not read: ") + why.what());
    }
  }
  rows.losses.Tell(out, skin);
  return rows;
}

// Rows that no surface takes change nothing.
void TellSurplus(console& out, const std::string& skin, const skinrows& rows,
                 const skelmesh& file) {
  std::unordered_set<std::string> surfaces;
  for (const skelsurfentry& entry : file.surfaces) {
    surfaces.insert(Folded(NameText(entry.surface->name).data()));
  }
  std::map<int, std::string> surplus;  // in the file's order
  for (const auto& [surface, row] : rows.bySurface) {
    if (!surfaces.contains(surface)) {
      surplus.emplace(row.line, surface + " (line " + std::to_string(row.line) + ")");
    }
  }
  if (!surplus.empty()) {
    std::vector<std::string> names;
    std::ranges::transform(surplus, std::back_inserter(names),
                           [](const auto& row) { return row.second; });
    out.Note(skin, "the model has no surfaces of these names: " + JoinedFew(names));
  }
}

imagesources Dress(console& out, const std::vector<cnode*>& nodes, const skelmesh& file,
                   const std::string& skin, core::scene& scene) {
  if (nodes.size() != file.surfaces.size()) {
    return {};
  }
  const skinrows rows = RowsOf(out, skin);
  TellSurplus(out, skin, rows, file);
  dresser dress(scene, skin, rows);
  for (std::size_t s = 0; s < nodes.size(); ++s) {
    dress.Dress(*nodes[s], *file.surfaces[s].surface);
  }
  return dress.Sources();
}

}  // namespace

imagesources DressSurfaces(console& out, const std::string& path, filekind kind,
                           const std::string& skin, core::scene& scene) {
  imagesources sources;
  const std::vector<cnode*> nodes = SurfacesOf(scene);
  if (nodes.empty()) {
    return sources;
  }
  WithReader(kind, [&]<class File>(File&& file) {
    if constexpr (std::is_base_of_v<skelmesh, File>) {
      if (LoadAgain(path, path, file)) {
        sources = Dress(out, nodes, file, skin, scene);
      }
    }
  });
  return sources;
}

}  // namespace command
