#include "gltf/write/localpose.h"

#include <cmath>

#include "gltf/convention.h"
#include "gltf/write/fault.h"

namespace gltf {

namespace {

bool IsFinite(const localpose& pose) {
  float sum = 0.0F;
  for (int i = 0; i < 3; ++i) {
    const auto at = static_cast<std::size_t>(i);
    sum += pose.translation[at] * 0.0F + pose.scale[at] * 0.0F;
  }
  for (const float part : pose.rotation) {
    sum += part * 0.0F;
  }
  return sum == 0.0F;
}

void SetTurn(const cquat& rotation, const axismap& axes, const localpose& near, localpose& pose) {
  const core::vec3 axis = axes.ToFile(core::vec3{rotation.x, rotation.y, rotation.z});
  const double parts[4] = {axis.x, axis.y, axis.z, rotation.w};
  double squares = 0.0;
  double side = 0.0;
  for (std::size_t i = 0; i < 4; ++i) {
    squares += parts[i] * parts[i];
    side += parts[i] * near.rotation[i];
  }
  if (squares == 0.0) {
    return;
  }
  const double factor = (side < 0.0 ? -1.0 : 1.0) / std::sqrt(squares);
  for (std::size_t i = 0; i < 4; ++i) {
    // Adding zero makes -0 the same as 0.
    pose.rotation[i] = static_cast<float>(parts[i] * factor) + 0.0F;
  }
}

std::array<float, 3> ToArray(const core::vec3& v) {
  return {static_cast<float>(v.x) + 0.0F, static_cast<float>(v.y) + 0.0F,
          static_cast<float>(v.z) + 0.0F};
}

}  // namespace

localpose PoseAt(const core::trackstate& track, int frame, const options& how,
                 const localpose& near, const std::string& name) {
  const axismap axes(how.front);
  const ckey key = core::KeyAtFrame(track, frame);
  localpose pose;
  pose.translation = ToArray(axes.ToFile(core::ToVec(key.pos)) * (1.0 / how.scale));
  pose.scale = ToArray(axes.ScaleToFile(core::ToVec(key.scale)));
  SetTurn(key.rot, axes, near, pose);
  if (!IsFinite(pose)) {
    throw writefault("node \"" + name + "\": its transform is not finite at frame " +
                     std::to_string(frame));
  }
  return pose;
}

}  // namespace gltf
