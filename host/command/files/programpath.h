#pragma once

#include <string>

namespace command {

// The module that was installed with the running program.
std::string ModuleBesideProgram();

}  // namespace command
