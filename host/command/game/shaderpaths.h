#pragma once

#include <string>

#include "core/scene.h"

namespace command {

// Gives each material of a scene that is to become a model the path that the games know, which is
// taken from the first of: the path that the scene keeps as game_path; the material's name where it
// holds a slash, without a number behind it; the image's path or name from its folder models on;
// the material's name below `folder`, where that is not empty. A material that has none of them
// stays as it is. A name gets the suffix of its image: .jpg of a JPEG, else .tga.
void SetShaderPaths(core::scene& scene, const std::string& folder);

}  // namespace command
