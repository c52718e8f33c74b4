#pragma once

#include <string>
#include <vector>

#include "core/scene.h"

namespace core {

// The last frame of the scene's range at which a key stands or a mesh has a shape. An import sets
// the end of the range to the number of keys, or to 100 without any, so the range alone says too
// much. A scene without keys beyond its first frame ends at its first frame.
CORE_API int LastKeyFrame(const scene& scene);

// The named stretches of the time line: the scene's clips where it has any; otherwise the
// sequences that an import wrote into the notes, cut to the frames that have keys. The notes give
// a sequence's first frame when all of the file's frames were taken, and its last key when only
// some sequences were. Loop and rate come from the notes for the scene's clips too, by name.
CORE_API std::vector<clip> NamedClips(const scene& scene);

// The sequences of the last import that a scene's notes tell of, with the first frames that they
// had in the model's file; -1 where the notes do not give these.
CORE_API std::vector<clip> NotedSequences(const std::string& notes);

}  // namespace core
