#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "command/console.h"
#include "command/files/paths.h"
#include "command/run/answers.h"
#include "core/scene.h"

namespace command {

// What an export does in a file that a handler has written, before the file is checked and takes
// its name.
struct finishsteps {
  bool normals = true;                // those that the games light by, in place of the handler's
  std::optional<std::int32_t> torso;  // number of the bone that is the torso's parent
};

// Changes the model at `path`, written from the scene over the range, in place: records keep their
// number and place. Shaders are the paths that the scene's materials have. An mdc gets the boxes of
// its frames, too, where the scene knows them better. A file that does not hold is left to the
// check that follows. Without a range, which a dialog in a window does not tell, an mdc that has
// not all frames of the scene keeps the handler's normals, with a warning under the name `told`.
// Fails when the file cannot be written.
void FinishModel(console& out, const std::string& told, const std::string& path, filekind kind,
                 const finishsteps& steps, const core::scene& scene,
                 const std::optional<framerange>& range);

}  // namespace command
