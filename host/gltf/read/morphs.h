#pragma once

#include <memory>
#include <vector>

#include "core/state.h"
#include "gltf/read/plan.h"
#include "gltf/read/sampling.h"

namespace gltf {

// The weights of a node's morph targets.
struct nodemorph {
  // At every frame of the time line; null where they keep still.
  std::shared_ptr<const core::morphweights> changing;
  std::vector<float> still;  // without a clip, or at all frames; one for each target
};

// By node of the document. Throws badfile, also when there are more weights than a scene can hold.
std::vector<nodemorph> MakeMorphs(const document& doc, const plan& nodes, const timeline& line,
                                  valuereader& values);

}  // namespace gltf
