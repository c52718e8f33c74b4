#include "sampling/names.h"

#include "plugin/host/materials.h"

std::array<char, kImagePathSize> ImagePath(cmaterial& material) {
  std::array<char, kImagePathSize> path{};
  material.GetImage(0)->GetPathName(path.data());
  return path;
}

bool IsNoImage(std::string_view path) { return EqualsIgnoringCase(path, kNoImagePath); }
