#pragma once

#include "mdmmdx/mdxfile.h"
#include "mds/mdsfile.h"

namespace command {

// Makes the bone of this number the torso's parent: it and all bones that hang from it follow the
// torso fully, the others not at all, and a tag as its bone does. In place.
void SetTorso(const cmdsfile& file, std::int32_t bone);
void SetTorso(const cmdxfile& file, std::int32_t bone);

}  // namespace command
