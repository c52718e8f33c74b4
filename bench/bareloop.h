#pragma once

#include <string>

// The least that an import of an mds file has to compute: for each frame and bone the six stored
// angles through sine and cosine, the rotations multiplied, the world position chained, the pose
// relative to the parent taken as a key (position and quaternion); then each vertex summed over
// its weights in the last pose. No host, no checks, no scene: what an importer's time is measured
// against. Gives a sum over the results, so that nothing is left out as unused; the file must be a
// good one.
double DecodeBare(const std::string& path);
