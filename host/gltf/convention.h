#pragma once

// What reading and writing agree on: axes, corners of faces and times.
//
// The map of axes is a rotation, so quaternions keep their w and their vector part is mapped like a
// point; scales only change places. Both sides have the quaternion (x, y, z, w) for the same
// rotation, points being rows here and columns there.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "core/affine.h"
#include "gltf/gltf.h"

namespace gltf {

// The file's axes against the scene's: its front is the scene's x, its up the scene's z. Quarter
// turns, so nothing is rounded.
class axismap {
 public:
  explicit axismap(facing front)
      : z_(front == facing::PlusZ    ? 1.0
           : front == facing::MinusZ ? -1.0
                                     : 0.0),
        x_(front == facing::PlusX    ? 1.0
           : front == facing::MinusX ? -1.0
                                     : 0.0) {}

  core::vec3 ToScene(const core::vec3& p) const {
    return {z_ * p.z + x_ * p.x, z_ * p.x - x_ * p.z, p.y};
  }
  core::vec3 ToFile(const core::vec3& p) const {
    return {x_ * p.x + z_ * p.y, p.z, z_ * p.x - x_ * p.y};
  }

  // Factors along the axes, which have no sense of direction.
  core::vec3 ScaleToScene(const core::vec3& s) const {
    return z_ != 0.0 ? core::vec3{s.z, s.x, s.y} : core::vec3{s.x, s.z, s.y};
  }
  core::vec3 ScaleToFile(const core::vec3& s) const {
    return z_ != 0.0 ? core::vec3{s.y, s.z, s.x} : core::vec3{s.x, s.z, s.y};
  }

  // Transforms between two spaces of the file and between the same two of the scene.
  core::affine ToScene(const core::affine& m) const {
    return {{ToScene(m.row[2] * z_ + m.row[0] * x_), ToScene(m.row[0] * z_ - m.row[2] * x_),
             ToScene(m.row[1])},
            ToScene(m.translation)};
  }
  core::affine ToFile(const core::affine& m) const {
    return {{ToFile(m.row[0] * x_ + m.row[1] * z_), ToFile(m.row[2]),
             ToFile(m.row[0] * z_ - m.row[1] * x_)},
            ToFile(m.translation)};
  }

 private:
  // The file's front along its z and its x: one is 1 or -1, the other 0.
  double z_;
  double x_;
};

// A face's corner on the other side: a scene's faces run clockwise seen from their front, the
// file's counter-clockwise.
constexpr std::size_t OtherCorner(std::size_t corner) { return corner == 0 ? 0 : 3 - corner; }

// Frames beyond a whole number of them that are rounding of the clip's end.
inline constexpr double kWholeFrame = 1e-4;
// Highest rate that a clip may have of its own, in frames a second.
inline constexpr int kHighestRate = 1000;
// How far a frame's number may be from a whole one by what single precision makes of a late time.
inline double FrameRounding(double exact) {
  return std::max(kWholeFrame, exact * std::numeric_limits<float>::epsilon());
}
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
  return static_cast<int>(std::abs(exact - whole) <= FrameRounding(exact) ? whole
                                                                          : std::ceil(exact)) +
         1;
}

// Time of a clip's frame in seconds, as the file's single precision has it: the nearest, since
// other programs find a clip's last frame by it. Reading samples at the same times and so meets the
// keys that were written.
inline float FrameTime(int frame, double fps) { return static_cast<float>(frame / fps); }

}  // namespace gltf
