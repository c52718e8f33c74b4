#pragma once

// The shaders of written models, whose surfaces are the scene's in the scene's order: where the
// handler shortened or changed a path of the games that the scene has, the surface gets that path,
// in lower case. Names without a slash stay the handler's. Whether anything changed.

#include "core/scene.h"
#include "mdc/mdcfile.h"
#include "skeletal/modelfile.h"

namespace command {

bool SetShaders(const cmdcfile& file, const core::scene& scene);
bool SetShaders(const skelmesh& file, const core::scene& scene);

}  // namespace command
