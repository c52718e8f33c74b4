#pragma once

#include <string>

#include "command/files/paths.h"

namespace command {

// Gives the model at `written` the name that its exporter stores for the path `target`: the
// handler has stored that for the file it wrote. `modelsDir` is the option of an mdc; where a
// window answered it, the stored name tells. A file whose name is neither is left to the check that
// follows. Fails when the file cannot be written.
void SetStoredName(const std::string& written, const std::string& target, filekind kind,
                   bool modelsDir);

}  // namespace command
