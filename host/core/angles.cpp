// Angles, quaternions and matrices: the conversions of plugin/host/scene.h.

#include <algorithm>
#include <cmath>
#include <numbers>

#include "core/affine.h"
#include "plugin/host/scene.h"

namespace {

constexpr double kRadians = std::numbers::pi / 180.0;

// Rotations arrive in single precision. What is left of a vertical row's horizontal part is at
// most some 2e-7 then; a direction read from less than this would be noise.
constexpr double kVertical = 1e-6;

float Degrees(double radians) { return static_cast<float>(radians / kRadians); }

}  // namespace

cpoint3 MakePt3(float x, float y, float z) {
  cpoint3 result;
  result.x = x;
  result.y = y;
  result.z = z;
  return result;
}

cquat EulerToQuat(const cpoint3& angles) {
  const double p = 0.5 * kRadians * std::remainder(static_cast<double>(angles.x), 720.0);
  const double y = 0.5 * kRadians * std::remainder(static_cast<double>(angles.y), 720.0);
  const double r = 0.5 * kRadians * std::remainder(static_cast<double>(angles.z), 720.0);
  const double cp = std::cos(p);
  const double sp = std::sin(p);
  const double cy = std::cos(y);
  const double sy = std::sin(y);
  const double cr = std::cos(r);
  const double sr = std::sin(r);
  // Roll about x first, then pitch about y, then yaw about z.
  cquat result;
  result.x = static_cast<float>(cy * cp * sr - sy * sp * cr);
  result.y = static_cast<float>(cy * sp * cr + sy * cp * sr);
  result.z = static_cast<float>(sy * cp * cr - cy * sp * sr);
  result.w = static_cast<float>(cy * cp * cr + sy * sp * sr);
  return result;
}

cpoint3 QuatToEuler(const cquat& rotation) {
  const core::affine m = core::FromQuat(rotation);
  const core::vec3& forward = m.row[0];
  const core::vec3& left = m.row[1];
  const double level = std::hypot(forward.x, forward.y);
  cpoint3 angles;
  angles.x = Degrees(std::atan2(-forward.z, level));
  if (level < kVertical) {
    angles.y = Degrees(std::atan2(-left.x, left.y));
  } else {
    angles.y = Degrees(std::atan2(forward.y, forward.x));
    angles.z = Degrees(std::atan2(left.z, m.row[2].z));
  }
  return angles;
}

cquat QuatFromMatrix(const cmatrix4& matrix) {
  return core::ToQuat(core::RotationOf(core::ToAffine(matrix)));
}

void EulerFromMatrix(const cmatrix4& matrix, float* angles) {
  const core::affine m = core::ToAffine(matrix);
  const core::vec3 first = core::Unit(m.row[0]);
  const core::vec3 last = core::Unit(m.row[2]);
  // Row 0 of X Y Z is (cos y cos z, -cos y sin z, sin y), with cos y not negative.
  const double level = std::sqrt(first.x * first.x + first.y * first.y);
  const bool vertical = level < kVertical;
  const double cosz = vertical ? 1.0 : first.x / level;
  const double sinz = vertical ? 0.0 : -first.y / level;
  // Row 2 of X Y Z is sin x times row 1 of Y Z plus cos x times row 2 of Y Z.
  const core::vec3 side{sinz, cosz, 0.0};
  const core::vec3 up{-first.z * cosz, first.z * sinz, level};
  angles[0] = Degrees(std::atan2(core::Dot(last, side), core::Dot(last, up)));
  angles[1] = Degrees(std::atan2(first.z, level));
  angles[2] = vertical ? 0.0F : Degrees(std::atan2(-first.y, first.x));
}

cmatrix4 Inverse(const cmatrix4& matrix) {
  cmatrix4 result = matrix;
  result.Invert();
  return result;
}

void MatrixLookAt(cmatrix4& result, const cpoint3& direction, const cpoint3& up) {
  core::affine frame;
  core::vec3 ahead = core::Unit(core::ToVec(direction));
  if (core::IsZero(ahead)) {
    ahead = {0.0, 0.0, 1.0};
  }
  const core::vec3 above = core::ToVec(up);
  core::vec3 side = core::Cross(above, ahead);
  if (!(core::Dot(side, side) > kVertical * kVertical * core::Dot(above, above))) {
    const core::vec3 other = std::abs(ahead.z) < 0.9 ? core::vec3{0.0, 0.0, 1.0}  // any will do
                                                     : core::vec3{1.0, 0.0, 0.0};
    side = core::Cross(other, ahead);
  }
  frame.row[0] = core::Unit(side);
  frame.row[1] = core::Cross(ahead, frame.row[0]);
  frame.row[2] = ahead;
  result = core::ToMatrix(frame);
}

void CalcTMBBox(cpoint3& minimum, cpoint3& maximum, const cmatrix4& matrix) {
  const double low[3] = {minimum.x, minimum.y, minimum.z};
  const double high[3] = {maximum.x, maximum.y, maximum.z};
  float newLow[3];
  float newHigh[3];
  // Along each axis the extreme corner takes the extreme of every term by itself.
  for (int axis = 0; axis < 3; ++axis) {
    double least = matrix.m[3][axis];
    double most = least;
    for (int k = 0; k < 3; ++k) {
      const double a = low[k] * matrix.m[k][axis];
      const double b = high[k] * matrix.m[k][axis];
      least += std::min(a, b);
      most += std::max(a, b);
    }
    newLow[axis] = static_cast<float>(least);
    newHigh[axis] = static_cast<float>(most);
  }
  minimum = MakePt3(newLow[0], newLow[1], newLow[2]);
  maximum = MakePt3(newHigh[0], newHigh[1], newHigh[2]);
}
