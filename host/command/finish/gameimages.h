#pragma once

#include <string>
#include <vector>

#include "command/console.h"
#include "core/scene.h"

namespace command {

// Gives the scene's materials the images that the handler, which tries one folder and two suffixes,
// did not find: in each of the game's folders, later ones first, then in the folder above the
// model's models folder; under the name's own suffix, as .tga, .jpg and .png, in any case of
// letters. The paths that the games know stay as they are. What is missing then is told once, with
// where it was looked for.
void FindGameImages(console& out, const std::string& path,
                    const std::vector<std::string>& gameFolders, core::scene& scene);

}  // namespace command
