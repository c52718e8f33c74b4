#pragma once

#include <string>
#include <unordered_map>

namespace command {

// What the surfaces wear by a .skin file: the path behind the comma of the first line for each
// surface, by the surface's name in lower case. A path may stand in quotes, with blanks around it
// and without a suffix; lines may end in any way. Tags, comments and lines without a path give
// nothing. Empty where the file cannot be read or is no text of a reasonable size.
std::unordered_map<std::string, std::string> ReadSkinRows(const std::string& path);

}  // namespace command
