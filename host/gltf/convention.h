#pragma once

// What reading and writing agree on: axes and times.
//
// The map of axes is a rotation (a quarter turn about x), so quaternions keep their w and turn
// their vector part like a point; scales only change places. Both sides have the quaternion
// (x, y, z, w) for the same rotation, points being rows here and columns there.

#include <cmath>

#include "core/affine.h"

namespace gltf {

inline core::vec3 ToFileAxes(const core::vec3& p) { return {p.x, p.z, -p.y}; }
inline core::vec3 ToSceneAxes(const core::vec3& p) { return {p.x, -p.z, p.y}; }

// Factors along the axes, which have no sense of direction. The map is its own inverse.
inline core::vec3 SwapScaleAxes(const core::vec3& s) { return {s.x, s.z, s.y}; }

// Transforms between spaces that are both turned: rows stand for the axes of the space below.
inline core::affine ToFileAxes(const core::affine& m) {
  return {{ToFileAxes(m.row[0]), ToFileAxes(m.row[2]), ToFileAxes(m.row[1]) * -1.0},
          ToFileAxes(m.move)};
}
inline core::affine ToSceneAxes(const core::affine& m) {
  return {{ToSceneAxes(m.row[0]), ToSceneAxes(m.row[2]) * -1.0, ToSceneAxes(m.row[1])},
          ToSceneAxes(m.move)};
}

// Frames beyond a whole number of them that are rounding of the clip's end.
inline constexpr double kWholeFrame = 1e-4;
// Longest clip that fits a time line.
inline constexpr double kMostFrames = 1 << 30;

// Number of frames of a clip that lasts `seconds`, its first and last included; at least one, at
// most kMostFrames.
inline int FramesOf(double seconds, double fps) {
  const double exact = seconds * fps;
  if (!(exact > 0.0)) {
    return 1;
  }
  if (exact > kMostFrames - 1.0) {
    return static_cast<int>(kMostFrames);
  }
  const double whole = std::round(exact);
  return static_cast<int>(std::abs(exact - whole) <= kWholeFrame ? whole : std::ceil(exact)) + 1;
}

// Time of a clip's frame in seconds, as the file's single precision has it: rounded towards zero,
// so that a long clip's end never spills over into one frame more. Reading samples at the same
// times and so meets the keys that were written.
inline float FrameTime(int frame, double fps) {
  const double exact = frame / fps;
  const auto time = static_cast<float>(exact);
  return static_cast<double>(time) > exact ? std::nextafter(time, 0.0F) : time;
}

}  // namespace gltf
