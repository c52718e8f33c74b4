#pragma once

#include <string>
#include <unordered_map>

#include "command/files/linelosses.h"

namespace command {

struct skinrow {
  std::string path;  // of the image, in the game
  int line = 0;
};

struct skinrows {
  std::unordered_map<std::string, skinrow> bySurface;  // the surface's name in lower case
  linelosses losses;
  bool whole = true;  // whether the file could be read to its end; without, there are no rows
};

// What the surfaces wear by a .skin file: the path behind the comma of the first line for each
// surface. A path may stand in quotes, with blanks around it and without a suffix; lines may end in
// any way. Tags and comments give nothing.
skinrows ReadSkinRows(const std::string& path);

}  // namespace command
