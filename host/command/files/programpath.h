#pragma once

#include <string>

namespace command {

// The module that was installed with the running program.
std::string ModuleBesideProgram();
// The page for browsers that was installed with it.
std::string PageBesideProgram();

}  // namespace command
