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

// The keys around a frame: the one before it, and the interpolation factor to
// the next, 0 to 1.
struct keyspan {
  std::size_t key = 0;
  double factor = 0.0;
  double seconds = 0.0;  // between the two keys
};

// A clip of a document, and where its frames lie between the keys of the
// sampler that was asked for last: the channels of a clip mostly share their
// times.
class clipkeys {
 public:
  clipkeys(const animation& from, const core::clip& clip, double length, double fps)
      : from_(&from), clip_(&clip), length_(length), fps_(fps) {}

  // What a channel makes of its node, from the clip's first frame on: of its
  // translation or scale, of its rotation. Time grows with keys + frames.
  // Throws badfile.
  void SampleVectors(const channel& moved, valuereader& values, core::vec3* frames);
  void SampleRotations(const channel& moved, valuereader& values, cquat* frames);

 private:
  void Find(const sampler& part, valuereader& values);

  const animation* from_;
  const core::clip* clip_;
  double length_;
  double fps_;
  // Of the sampler that was asked for last.
  int input_ = -1;
  interpolation mode_ = interpolation::Linear;
  std::size_t numKeys_ = 0;
  std::vector<keyspan> spans_;  // of each frame
  bool dense_ = false;          // each frame has the key of its own number
};

// Calls `take` with the weights of `numTargets` morph targets at each frame of the clip, in order.
void SampleWeights(const animation& from, const channel& moved, const core::clip& clip,
                   double length, double fps, std::size_t numTargets, valuereader& values,
                   const std::function<void(const std::vector<float>&)>& take);

}  // namespace gltf
