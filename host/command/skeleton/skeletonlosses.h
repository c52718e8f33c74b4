#pragma once

#include <string>
#include <vector>

#include "command/files/paths.h"
#include "command/run/answers.h"
#include "core/scene.h"

namespace command {

// A bone that a file has not where the scene has it, and how far off it is at worst, in units.
struct boneloss {
  std::string bone;
  double distance = 0.0;
};

// "hand by up to 12.5, foot by up to 3", farthest first, of many the first few.
std::string FarthestFew(std::vector<boneloss> losses);

// What the scene's bones do over the frames and the file has no place for, one line each, with the
// bones' names and how far off they are, farthest first. An mds or mdx has one length for each
// bone, that of scene frame 0, and one place for all bones without a parent bone, that of the first
// of them; an mdm has one place for each tag on its parent, again that of frame 0.
std::vector<std::string> SkeletonLosses(const core::scene& scene, filekind kind,
                                        const framerange& range);

}  // namespace command
