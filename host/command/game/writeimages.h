#pragma once

#include <string>

#include "command/console.h"
#include "core/scene.h"

namespace command {

// Writes the images that the surfaces of a written model wear to the paths that the model stores,
// below the folder above its models folder; outside of one below the model's own directory. A JPEG
// stays one, as .jpg; anything else becomes a TGA, or a JPEG where the path says so. Old files stay
// without `force`. Told are sizes that are no powers of two, which the games scale, and paths that
// lead out of the folder, which are left out. Fails when a file cannot be written.
void WriteImages(console& out, const std::string& model, const core::scene& scene, bool force);

}  // namespace command
