#pragma once

#include <unordered_map>

#include "core/scene.h"
#include "gltf/write/scenefile.h"

namespace gltf {

// Writes the scene's materials with their images, in their order; gives each its index.
std::unordered_map<const cmaterial*, int> WriteMaterials(const core::scene& scene, scenefile& file);

}  // namespace gltf
