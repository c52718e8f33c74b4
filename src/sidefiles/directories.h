#pragma once

#include <string>

// Directories that an importer derives from the path of its model. Searches are exact in case.

// The path cut behind its last backslash or, failing that, its last forward slash.
std::string ModelDirectory(const std::string& path);

// The root of the game's data: the path up to its "models" folder, which is searched as "models/"
// and, failing that, as "models\". Empty without such a folder.
std::string GameDirectory(const std::string& path);

// The same for an mdc model, whose images are looked for without such a folder too: there it is
// the path cut behind its last forward slash or, failing that, its last backslash.
std::string GameDirectoryOrOwn(const std::string& path);
