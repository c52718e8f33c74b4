#pragma once

#include <string>

// The least that an import of all frames of an mdc file into a glTF scene has to compute: each
// stored vertex and normal decoded, turned into the scene's axes and written as the same accessors
// have it, differences in shorts where they fit and normals in bytes, with the least and the
// largest of each target. No host, no checks, no scene, no JSON: what such an import's time is
// measured against. The file must be a good one without compressed frames. Gives the number of
// bytes written.
std::size_t WriteBareFrames(const std::string& path, const std::string& target);
