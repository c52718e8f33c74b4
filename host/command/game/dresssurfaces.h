#pragma once

#include <string>
#include <unordered_map>

#include "command/console.h"
#include "command/files/paths.h"
#include "core/scene.h"

namespace command {

// Where a material's path comes from that no model's file names: "FILE, line N".
using imagesources = std::unordered_map<const cmaterial*, std::string>;

// Gives each surface that an import has just made of an mds or mdm the material of the path that
// the .skin file says, else of the shader that the model's file names, and keeps that path with the
// material. The handler's materials are kept where it made one for the surface. Surfaces that share
// a path, suffix and case of letters aside, share a material. `skin` is the file's path, "" for
// none; what it loses is told. Nothing is done where the scene has not the surfaces of the file.
// Returns where the .skin file's paths come from.
imagesources DressSurfaces(console& out, const std::string& path, filekind kind,
                           const std::string& skin, core::scene& scene);

}  // namespace command
