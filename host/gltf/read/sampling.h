#pragma once

#include <functional>
#include <vector>

#include "core/scene.h"
#include "gltf/gltf.h"
#include "gltf/read/document.h"
#include "gltf/read/values.h"

namespace gltf {

// The clips of a document laid one behind the other from frame 0.
struct timeline {
  std::vector<core::clip> clips;  // one for each animation
  std::vector<double> lengths;    // in seconds
  std::vector<double> rates;      // frames a second at which each is read
  int frames = 0;                 // of all clips
};

// Clips that are read at a rate of their own have it. Throws badfile, also when there are more
// frames than a scene can hold.
timeline LayOut(const document& doc, const options& how, valuereader& values);

// What a node's channels of one clip make of it, from the clip's first frame on; a path that no
// channel has stays as it is. Time grows with keys + frames.
void Sample(const animation& from, const channel& moved, const core::clip& clip, double length,
            double fps, valuereader& values, transform* frames);

// Calls `take` with the weights of `numTargets` morph targets at each frame of the clip, in order.
void SampleWeights(const animation& from, const channel& moved, const core::clip& clip,
                   double length, double fps, std::size_t numTargets, valuereader& values,
                   const std::function<void(const std::vector<float>&)>& take);

}  // namespace gltf
