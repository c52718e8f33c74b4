#pragma once

#include "core/scene.h"
#include "gltf/gltf.h"
#include "gltf/write/layout.h"
#include "gltf/write/scenefile.h"

namespace gltf {

// Writes an animation for each of the scene's named clips; without any, one named "all" for a
// scene in which something moves. Throws writefault.
void WriteAnimations(const core::scene& scene, const layout& plan, const options& how,
                     scenefile& file);

}  // namespace gltf
