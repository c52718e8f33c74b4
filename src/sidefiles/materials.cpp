#include "sidefiles/materials.h"

#include <cstring>
#include <string_view>

#include "plugin/run/allocation.h"
#include "plugin/run/owned.h"
#include "sampling/names.h"

namespace {

std::string_view WithoutSuffix(std::string_view path) {
  // The last full stop counts, wherever it stands: that of a directory too.
  return path.substr(0, path.rfind('.'));
}

void ReplaceSuffix(std::string& path, const char* suffix) {
  const std::size_t stop = path.rfind('.');
  if (stop != std::string::npos) {
    path.replace(stop + 1, std::string::npos, suffix);
  }
}

}  // namespace

cmaterial* cmaterials::Require(std::string& path) {
  cmaterial* material = FindMatByImage(path);
  return material != nullptr ? material : Make(path);
}

cmaterial* cmaterials::FindMatByImage(const std::string& path) const {
  const std::string_view wanted = WithoutSuffix(path);
  for (cmaterial* const material : materials_) {
    if (WithoutSuffix(ImagePath(*material).data()) == wanted) {
      return material;
    }
  }
  return nullptr;
}

void cmaterials::AddMaterial(cmaterial* material) {
  AppendGrowing(materials_, material, {"materials", source_}, {"mats", source_});
}

cmaterial* cmaterials::Make(std::string& path) {
  ownedmaterial mat(RequireNew(CreateNewMaterial(), {"mat", source_}));
  cimage image;
  ReplaceSuffix(path, "jpg");
  bool loaded = image.Load(path.c_str()) != 0;
  if (!loaded) {
    ReplaceSuffix(path, "tga");
    loaded = image.Load(path.c_str()) != 0;
  }
  if (loaded) {
    mat->SetImage(image, 0);
  } else {
    mat->GetImage(0)->SetPathName(path.c_str());
  }
  cmaterial* placed = PlaceInScene(mat.release());
  AddMaterial(placed);
  return placed;
}

cmaterial* cmaterials::PlaceInScene(cmaterial* made) {
  ownedmaterial mat(made);
  if (unused_.NumNonZero() == 0) {
    // The scene owns it from the call on, even when it finds no room for it.
    Interface::AddToScene(mat.release(), 0);
    return made;
  }
  int index = 0;
  while (unused_[index] == 0) {
    ++index;
  }
  cmaterial* old = Interface::GetMaterialAt(index);
  old->Copy(mat.get());
  if (std::strcmp(old->GetName(), mat->GetName()) != 0) {
    UniqueNameForMaterial(mat->GetName(), -1);
    old->SetName(mat->GetName());
  }
  mat.reset();
  unused_.Zero(index);
  return old;
}
