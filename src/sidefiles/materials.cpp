#include "sidefiles/materials.h"

#include <cstring>

#include "plugin/run/allocation.h"
#include "plugin/run/owned.h"
#include "sampling/names.h"

namespace {

std::string WithoutSuffix(const std::string& path) {
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
  const auto found = byImage_.find(WithoutSuffix(path));
  return found == byImage_.end() ? nullptr : found->second;
}

void cmaterials::AddMaterial(cmaterial* material) {
  AppendGrowing(materials_, material, {"materials", source_}, {"mats", source_});
  byImage_.emplace(WithoutSuffix(ImagePath(*material).data()), material);
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
  if (numUnused_ == 0) {
    // The scene owns it from the call on, even when it finds no room for it.
    Interface::AddToScene(mat.release(), 0);
    return made;
  }
  while (unused_[nextUnused_] == 0) {
    ++nextUnused_;
  }
  cmaterial* old = Interface::GetMaterialAt(nextUnused_);
  old->Copy(mat.get());
  if (std::strcmp(old->GetName(), mat->GetName()) != 0) {
    UniqueNameForMaterial(mat->GetName(), -1);
    old->SetName(mat->GetName());
  }
  unused_.Zero(nextUnused_);
  --numUnused_;
  return old;
}
