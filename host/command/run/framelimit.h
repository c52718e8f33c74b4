#pragma once

#include "command/files/paths.h"
#include "command/memorylimit.h"
#include "command/run/answers.h"
#include "core/scene.h"

namespace command {

// Tells the choices of an export how many frames its file may have: by what the format counts and
// its offsets reach, by the memory that the run may take, since a file is built there, and by what
// the scene's keys can need. `kind` is that of the file, or of a pair's mesh.
void LimitFrames(filekind kind, const core::scene& scene, const memorylimit& memory,
                 exportchoices& choices);

}  // namespace command
