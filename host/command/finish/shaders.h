#pragma once

#include <string>

#include "core/scene.h"
#include "mdc/mdcfile.h"
#include "skeletal/modelfile.h"

namespace command {

// The path in the games that a surface's material has, in lower case; "" for none and for a name
// without a slash, where the handler's shader stays.
std::string PathInGame(cnode& surface);

// Give the surfaces of a written model, which are the scene's in the scene's order, those paths,
// which the handler may have shortened or changed. Whether anything changed.
bool SetShaders(const cmdcfile& file, const core::scene& scene);
bool SetShaders(const skelmesh& file, const core::scene& scene);

}  // namespace command
