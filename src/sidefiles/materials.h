#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "plugin/host/scene.h"

// The materials of one import: one for each distinct image path, compared without its suffix and
// otherwise to the letter. The materials belong to the scene; the list of them lives as long as
// the run.
class cmaterials {
 public:
  // source: the importer's name for the host's assertion, as "ImportMDS".
  explicit cmaterials(const char* source) : source_(source) {}

  // Asks the host once which of the scene's materials no node uses. Materials made later do not
  // appear in it.
  void FindUnused() {
    Interface::GetUnusedMaterials(unused_);
    numUnused_ = unused_.NumNonZero();
    nextUnused_ = 0;
  }

  // The material for the path: one made before, else a new one. A new one looks for the image
  // with the suffix jpg, then tga, and keeps the tga path where neither can be loaded; it takes
  // over the first unused material of the scene, or goes into the scene as it is. The suffix
  // that was tried last stays in `path`.
  cmaterial* Require(std::string& path);

 private:
  cmaterial* FindMatByImage(const std::string& path) const;
  void AddMaterial(cmaterial* material);
  cmaterial* Make(std::string& path);
  cmaterial* PlaceInScene(cmaterial* made);

  const char* source_;
  cbooleanarray unused_;
  int numUnused_ = 0;
  // No flag below this index is set.
  int nextUnused_ = 0;
  std::vector<cmaterial*> materials_;
  // By the path of the material's image without its suffix: the first of them.
  std::unordered_map<std::string, cmaterial*> byImage_;
};
