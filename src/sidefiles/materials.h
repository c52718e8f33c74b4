#pragma once

#include <string>
#include <vector>

#include "plugin/host/scene.h"

// The materials of one import: one for each distinct image path, compared without its suffix and
// otherwise to the letter. The materials belong to the scene; the list of them lives as long as
// the run. The host may change what it answers at any time, so that the images' paths and the
// number of unused materials are asked for each time that they are needed.
class cmaterials {
 public:
  // source: the importer's name for the host's assertion, as "ImportMDS".
  explicit cmaterials(const char* source) : source_(source) {}

  // Asks the host once which of the scene's materials no node uses. Materials made later do not
  // appear in it.
  void FindUnused() { Interface::GetUnusedMaterials(unused_); }

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
  std::vector<cmaterial*> materials_;
};
