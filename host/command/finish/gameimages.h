#pragma once

#include <string>
#include <vector>

#include "command/console.h"
#include "command/game/dresssurfaces.h"
#include "core/scene.h"

namespace command {

// Gives the materials that nodes of the scene wear the images that a game would show. Looked into
// are the folder above the model's models folder, unless the user names it, and the folders that
// the user names, later ones first; outside of a models folder at last what lies beside the model.
// An image may stand there under its own name, as .tga, .jpg and .png, in any case of letters, on
// the disk or in a .pk3 archive. A line tells how many were found, and one for each missing image
// where it was looked for and, by `sources`, where its path comes from.
void FindGameImages(console& out, const std::string& path,
                    const std::vector<std::string>& gameFolders, const imagesources& sources,
                    core::scene& scene);

// The game's folders that the images of a model are looked for in, in the order of their say.
std::vector<std::string> ImageFolders(const std::string& model,
                                      const std::vector<std::string>& gameFolders);

// Gives the scene's materials the paths that the games know, in place of those on this disk, and
// their names: a path without its suffix, which other programs keep where they drop all else.
void SetGamePaths(core::scene& scene);

}  // namespace command
