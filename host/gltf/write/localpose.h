#pragma once

#include <array>
#include <cmath>

#include "core/track.h"
#include "gltf/convention.h"
#include "gltf/gltf.h"

namespace gltf {

// A node's transform by the file's axes and units, in its single precision.
struct localpose {
  std::array<float, 3> translation{};
  std::array<float, 4> rotation{0.0F, 0.0F, 0.0F, 1.0F};
  std::array<float, 3> scale{1.0F, 1.0F, 1.0F};

  bool operator==(const localpose&) const = default;
};

// The parts of a key by the file's axes and units. Adding zero makes -0 the same as 0.
class keyconverter {
 public:
  explicit keyconverter(const options& how) : axes_(how.front), units_(1.0 / how.scale) {}

  std::array<float, 3> Translation(const ckey& key) const {
    return ToArray(axes_.ToFile(core::ToVec(key.pos)) * units_);
  }
  std::array<float, 3> Scale(const ckey& key) const {
    return ToArray(axes_.ScaleToFile(core::ToVec(key.scale)));
  }
  // Of the two quaternions for the rotation the one on the side of `near`; the identity for none.
  std::array<float, 4> Rotation(const ckey& key, const std::array<float, 4>& near) const {
    const core::vec3 axis = axes_.ToFile(core::vec3{key.rot.x, key.rot.y, key.rot.z});
    const double w = key.rot.w;
    const double squares = core::Dot(axis, axis) + w * w;
    const double side = axis.x * near[0] + axis.y * near[1] + axis.z * near[2] + w * near[3];
    if (squares == 0.0) {
      return {0.0F, 0.0F, 0.0F, 1.0F};
    }
    const double factor = (side < 0.0 ? -1.0 : 1.0) / std::sqrt(squares);
    return {static_cast<float>(axis.x * factor) + 0.0F, static_cast<float>(axis.y * factor) + 0.0F,
            static_cast<float>(axis.z * factor) + 0.0F, static_cast<float>(w * factor) + 0.0F};
  }

 private:
  static std::array<float, 3> ToArray(const core::vec3& v) {
    return {static_cast<float>(v.x) + 0.0F, static_cast<float>(v.y) + 0.0F,
            static_cast<float>(v.z) + 0.0F};
  }

  axismap axes_;
  double units_;
};

// Of the two quaternions for a rotation the one on the side of `near`. Throws writefault where the
// track has no finite numbers; `name` is the node's.
localpose PoseAt(const core::trackstate& track, int frame, const options& how,
                 const localpose& near, const std::string& name);

}  // namespace gltf
