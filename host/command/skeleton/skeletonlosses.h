#pragma once

#include <string>
#include <vector>

#include "command/files/paths.h"
#include "command/run/answers.h"
#include "core/scene.h"

namespace command {

// What the scene's bones do over the frames and the file has no place for, one line each, with the
// bones' names and how far off they are, farthest first. An mds or mdx has one length for each
// bone, that of scene frame 0, and one place for all bones without a parent bone, that of the first
// of them; an mdm has one place for each tag on its parent, again that of frame 0.
std::vector<std::string> SkeletonLosses(const core::scene& scene, filekind kind,
                                        const framerange& range);

}  // namespace command
