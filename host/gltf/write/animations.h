#pragma once

#include <vector>

#include "core/scene.h"
#include "gltf/gltf.h"
#include "gltf/write/layout.h"
#include "gltf/write/scenefile.h"
#include "gltf/write/skinning.h"

namespace gltf {

// `meshes` has each node's mesh in the file, -1 without.
//
// Writes an animation for each of the scene's named clips; without any, one named "all" for a
// scene in which something moves. Throws writefault.
void WriteAnimations(const core::scene& scene, const skinning& skins, const layout& plan,
                     const std::vector<int>& meshes, const options& how, scenefile& file);

}  // namespace gltf
