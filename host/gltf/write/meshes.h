#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "core/scene.h"
#include "core/state.h"
#include "gltf/write/scenefile.h"
#include "gltf/write/skinning.h"

namespace gltf {

// The mesh whose morph targets are written with the node; null where it has none. What joints move
// is written without.
const core::meshstate* MorphedMesh(const cnode& node, const skinning& skins);

// Writes the shape of each mesh and skin of the scene and gives each node its mesh, -1 without.
std::vector<int> WriteMeshes(const core::scene& scene, const skinning& skins,
                             const std::unordered_map<const cmaterial*, int>& materials,
                             const options& how, scenefile& file,
                             std::vector<std::string>& warnings);

}  // namespace gltf
