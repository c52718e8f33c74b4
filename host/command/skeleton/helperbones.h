#pragma once

#include <string>
#include <vector>

#include "command/files/paths.h"
#include "command/skeleton/skeletonlosses.h"
#include "core/scene.h"

namespace command {

// What was done to a scene's skeleton, by the bones that were there before and how far off a file
// would have had them without it: from their parent, and from where they stand.
struct helperbones {
  std::vector<boneloss> stretching;  // have a helper bone now
  std::vector<boneloss> hung;        // were top bones and have a parent bone now
};

// Makes the scene's bones such that an mds or mdx of it holds them where they are. Such a file has
// one length for each bone and one place for all bones without a parent bone. So
// - a bone whose distance from its parent changes gets a helper bone between the two: parent,
//   helper and bone are a triangle with two sides that keep their length and bend like a knee;
// - a further top bone that does not stand where the first one does is hung on the next bone above
//   it or, where none is, on the first top bone.
// No transform in the world changes at any frame, but for rounding; whole frames between the first
// and the last key of the scene are meant. It depends on the scene alone, not on the frames that
// are exported, so that an mdm fits to every mdx of its scene. Bones with a scale against what
// they would hang on stay as they are. A scene that needs nothing is left untouched.
helperbones AddHelperBones(core::scene& scene, filekind kind);

}  // namespace command
