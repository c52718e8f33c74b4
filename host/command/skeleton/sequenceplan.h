#pragma once

// The time line of a skeletal file, after a sequence file.

#include <functional>
#include <string>
#include <vector>

#include "command/files/sequencefile.h"
#include "core/scene.h"

namespace command {

// Gives the scene the frames of the lines: each clip of a line's name at the line's frames, a
// shorter clip with its last frame held, a longer one cut. Lines may share frames; the first one's
// clip is then taken. What no clip is laid at holds the frame before it. The lines become the
// scene's clips. Returns what differs from the lines, a text each. Fails, as from the file `path`,
// when no line has a clip or the frames are more than a scene can hold.
std::vector<std::string> LayOutBy(const std::string& path, const std::vector<sequenceline>& lines,
                                  core::scene& scene);

// Clips that an import took from one file stand one behind the other in a scene file, even those
// that shared frames. Lays them as they were, when the notes tell and all of them have their
// lengths still, and equal poses where they are to share a frame.
void RestoreLayout(core::scene& scene);

// The line of a sequence file for a clip of a scene, by the clip's name; null where it has none.
std::function<const core::clip*(const std::string& name)> SequenceFinder(
    const std::vector<sequenceline>& lines);

struct loopchoice {
  std::string name;
  int frames = -1;  // -1: all
};
// Fails when there is no clip of a name, or it has fewer frames.
void SetLoops(const std::string& path, const std::vector<loopchoice>& loops, core::scene& scene);

}  // namespace command
