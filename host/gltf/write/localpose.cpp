#include "gltf/write/localpose.h"

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

}  // namespace

localpose PoseAt(const core::trackstate& track, int frame, const options& how,
                 const localpose& near, const std::string& name) {
  const keyconverter convert(how);
  const ckey key = core::KeyAtFrame(track, frame);
  localpose pose;
  pose.translation = convert.Translation(key);
  pose.scale = convert.Scale(key);
  pose.rotation = convert.Rotation(key, near.rotation);
  if (!IsFinite(pose)) {
    throw writefault("node \"" + name + "\": its transform is not finite at frame " +
                     std::to_string(frame));
  }
  return pose;
}

}  // namespace gltf
