#pragma once

// Whether a written model holds what the scene has. Surfaces, bones and tags are compared whole:
// names, shaders, triangles, texture coordinates, weights, parents and what follows the torso.
// Frames are compared at a spread of them, since each costs a good part of what its export did: see
// SpreadOf. What no reader looks at is not compared, nor are normals that the handler left.

#include <optional>
#include <string>

#include "command/files/readers.h"
#include "command/finish/finishmodel.h"
#include "command/run/answers.h"
#include "core/scene.h"

namespace command {

// What a model was written from.
struct writtenfrom {
  core::scene& scene;
  // Without: it is not known which frames they were, and none is compared.
  std::optional<framerange> range;
  cpoint3 origin;      // of the frames
  finishsteps finish;  // what was done to the handler's file
};

// The file's counts of surfaces, tags, bones and frames are those of the scene, and its tables lie
// inside the file. What differs first, with its surface, bone or tag and its frame in the file;
// empty when all is well.
std::string ContentFault(const cmdcfile& file, const writtenfrom& from);
std::string ContentFault(const cmdsfile& file, const writtenfrom& from);
std::string ContentFault(const cmdmfile& file, const writtenfrom& from);
std::string ContentFault(const cmdxfile& file, const writtenfrom& from);

}  // namespace command
