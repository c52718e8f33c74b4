#pragma once

#include <string>

#include "command/console.h"
#include "command/files/paths.h"
#include "core/scene.h"

namespace command {

// Gives the skins that an import has just made of a skeletal model the file's own normals, in place
// of the smoothed ones that the handler leaves. A file may have them in the space of the bone of
// each vertex's first weight, as the games turn them, or in the space of the rest pose, as the
// handlers write them. Taken is what agrees better with the faces at rest, and smoothed normals
// where neither does within 60 degrees in the mean; a note says which. The skins' meshes stand in
// the rest pose afterwards. Nothing is done where the scene has no skins, or not those of the file.
void TakeFileNormals(console& out, const std::string& path, filekind kind, core::scene& scene);

}  // namespace command
