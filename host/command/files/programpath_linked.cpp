#include "command/files/programpath.h"

namespace command {

// The module is in the program itself.
std::string ModuleBesideProgram() { return {}; }

std::string PageBesideProgram() { return {}; }

}  // namespace command
