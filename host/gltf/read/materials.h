#pragma once

#include <string>
#include <vector>

#include "core/scene.h"
#include "gltf/read/document.h"
#include "gltf/read/resources.h"

namespace gltf {

// Adds the document's materials to the scene, in their order and under names of their own. An
// image that cannot be had leaves its path and a warning. Throws badfile.
std::vector<cmaterial*> AddMaterials(const document& doc, const surroundings& around,
                                     core::scene& scene, std::vector<std::string>& warnings);

}  // namespace gltf
