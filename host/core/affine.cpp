#include "core/affine.h"

#include "core/lanes.h"

namespace core {

namespace {

// A volume this small beside the product of the rows' lengths is rounding, not extent.
constexpr double kSingular = 1e-12;

// Any unit vector at a right angle to the unit vector.
vec3 SideOf(const vec3& v) {
  const double ax = std::abs(v.x);
  const double ay = std::abs(v.y);
  const double az = std::abs(v.z);
  vec3 axis{0.0, 0.0, 1.0};
  if (ax <= ay && ax <= az) {
    axis = {1.0, 0.0, 0.0};
  } else if (ay <= az) {
    axis = {0.0, 1.0, 0.0};
  }
  return Unit(axis - v * Dot(axis, v));
}

float4 RowOf(const vec3& v, float last) {
  const float4 row = {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z),
                      last};
  return row;
}

}  // namespace

cmatrix4 ToMatrix(const affine& transform) {
  cmatrix4 result;
  Store(result.m[0], RowOf(transform.row[0], 0.0F));
  Store(result.m[1], RowOf(transform.row[1], 0.0F));
  Store(result.m[2], RowOf(transform.row[2], 0.0F));
  Store(result.m[3], RowOf(transform.translation, 1.0F));
  return result;
}

affine FromQuat(const cquat& rotation) {
  const double norm =
      static_cast<double>(rotation.x) * rotation.x + static_cast<double>(rotation.y) * rotation.y +
      static_cast<double>(rotation.z) * rotation.z + static_cast<double>(rotation.w) * rotation.w;
  if (!(norm > 0.0) || !std::isfinite(norm)) {
    return {};
  }
  const double s = 2.0 / norm;
  const double x = rotation.x;
  const double y = rotation.y;
  const double z = rotation.z;
  const double w = rotation.w;
  affine result;
  result.row[0] = {1.0 - s * (y * y + z * z), s * (x * y + w * z), s * (x * z - w * y)};
  result.row[1] = {s * (x * y - w * z), 1.0 - s * (x * x + z * z), s * (y * z + w * x)};
  result.row[2] = {s * (x * z + w * y), s * (y * z - w * x), 1.0 - s * (x * x + y * y)};
  return result;
}

cquat ToQuat(const affine& rotation) {
  const vec3& a = rotation.row[0];
  const vec3& b = rotation.row[1];
  const vec3& c = rotation.row[2];
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
  double w = 0.0;
  // The largest component comes from the diagonal and the others from it, so that nothing is
  // divided by a small number.
  const double trace = a.x + b.y + c.z;
  if (trace >= a.x && trace >= b.y && trace >= c.z) {
    w = 0.5 * std::sqrt(1.0 + trace);
    const double f = 0.25 / w;
    x = (b.z - c.y) * f;
    y = (c.x - a.z) * f;
    z = (a.y - b.x) * f;
  } else if (a.x >= b.y && a.x >= c.z) {
    x = 0.5 * std::sqrt(1.0 + a.x - b.y - c.z);
    const double f = 0.25 / x;
    w = (b.z - c.y) * f;
    y = (a.y + b.x) * f;
    z = (c.x + a.z) * f;
  } else if (b.y >= c.z) {
    y = 0.5 * std::sqrt(1.0 + b.y - a.x - c.z);
    const double f = 0.25 / y;
    w = (c.x - a.z) * f;
    x = (a.y + b.x) * f;
    z = (b.z + c.y) * f;
  } else {
    z = 0.5 * std::sqrt(1.0 + c.z - a.x - b.y);
    const double f = 0.25 / z;
    w = (a.y - b.x) * f;
    x = (c.x + a.z) * f;
    y = (b.z + c.y) * f;
  }
  cquat result;
  result.x = static_cast<float>(x);
  result.y = static_cast<float>(y);
  result.z = static_cast<float>(z);
  result.w = static_cast<float>(w);
  return result;
}

affine RotationOf(const affine& transform) {
  vec3 forward = Unit(transform.row[0]);
  if (IsZero(forward)) {
    forward = Unit(Cross(transform.row[1], transform.row[2]));
  }
  if (IsZero(forward)) {
    forward = {1.0, 0.0, 0.0};
  }
  const vec3 rawUp = Unit(transform.row[2]);
  vec3 up = rawUp - forward * Dot(rawUp, forward);
  if (Dot(up, up) < kSingular) {
    const vec3 left = Unit(transform.row[1]);
    up = Cross(forward, left - forward * Dot(left, forward));
  }
  up = Dot(up, up) < kSingular ? SideOf(forward) : Unit(up);
  affine result;
  result.row[0] = forward;
  result.row[1] = Cross(up, forward);
  result.row[2] = up;
  return result;
}

bool InvertInPlace(affine& transform) {
  const vec3& a = transform.row[0];
  const vec3& b = transform.row[1];
  const vec3& c = transform.row[2];
  const vec3 bc = Cross(b, c);
  const vec3 ca = Cross(c, a);
  const vec3 ab = Cross(a, b);
  const double volume = Dot(a, bc);
  const double extentSquared = Dot(a, a) * Dot(b, b) * Dot(c, c);
  if (!(volume * volume > kSingular * kSingular * extentSquared)) {
    return false;
  }
  const double f = 1.0 / volume;
  affine result;
  result.row[0] = vec3{bc.x, ca.x, ab.x} * f;
  result.row[1] = vec3{bc.y, ca.y, ab.y} * f;
  result.row[2] = vec3{bc.z, ca.z, ab.z} * f;
  result.translation = TransformVector(transform.translation, result) * -1.0;
  transform = result;
  return true;
}

}  // namespace core
