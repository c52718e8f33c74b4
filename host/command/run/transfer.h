#pragma once

// Runs of the module's handlers over a scene in memory, with what a user may expect around them.

#include <string>

#include "command/console.h"
#include "command/options.h"
#include "command/run/modelrun.h"
#include "core/scene.h"

namespace command {

// Imports the model into the scene. kExitDone, or the code of a run that gave something else: why
// is told.
int ImportModel(console& out, modelhost& host, const std::string& path,
                const importchoices& choices, core::scene& scene);

// Exports the scene; with the mdx file of the choices beside an mdm. The files that stood under the
// names are only gone when the new ones read back whole. The scene may get helper bones. `fps` is
// the rate of clips without one.
int ExportModel(console& out, modelhost& host, const std::string& path,
                const exportoptions& options, double fps, core::scene& scene);

// Wrong usage that can be told before anything is read.
void CheckExport(const std::string& path, const exportoptions& options);

}  // namespace command
