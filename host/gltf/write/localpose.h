#pragma once

#include <array>

#include "core/track.h"
#include "gltf/gltf.h"

namespace gltf {

// A node's transform by the file's axes and units, in its single precision.
struct localpose {
  std::array<float, 3> translation{};
  std::array<float, 4> rotation{0.0F, 0.0F, 0.0F, 1.0F};
  std::array<float, 3> scale{1.0F, 1.0F, 1.0F};

  bool operator==(const localpose&) const = default;
};

// Of the two quaternions for a rotation the one on the side of `near`. Throws writefault where the
// track has no finite numbers; `name` is the node's.
localpose PoseAt(const core::trackstate& track, int frame, const options& how,
                 const localpose& near, const std::string& name);

}  // namespace gltf
