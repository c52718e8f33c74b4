#pragma once

#include <string>

#include "command/files/paths.h"

namespace command {

// Gives the model at `written` the name that its exporter stores for the path `target`: the
// handler has stored that for the file it wrote. `modelsDir` is the option of an mdc; where a
// window answered it, the stored name tells. Returns the name; "" for a file whose name is neither,
// which keeps it. Fails when the file cannot be written.
std::string SetStoredName(const std::string& written, const std::string& target, filekind kind,
                          bool modelsDir);

}  // namespace command
