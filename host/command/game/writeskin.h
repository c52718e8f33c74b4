#pragma once

#include <string>

#include "command/console.h"
#include "command/files/paths.h"

namespace command {

// Writes the .skin file of the model's own name beside an mds or mdm, in the kind's dialect: a line
// for each surface that has a shader, of its name and the shader's path. An old file stays without
// `force`, with a warning. Fails, with an old file as it was, when it cannot be written.
void WriteSkinFile(console& out, const std::string& model, filekind kind, bool force);

}  // namespace command
