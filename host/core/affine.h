#pragma once

#include <cmath>

#include "plugin/host/values.h"

// Transforms in double precision, for what is chained or inverted before a float result. Vectors
// are rows, as with cmatrix4; lengths are scene units.

namespace core {

struct vec3 {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
};

inline vec3 ToVec(const cpoint3& p) { return {p.x, p.y, p.z}; }

inline cpoint3 ToPoint(const vec3& v) {
  cpoint3 p;
  p.x = static_cast<float>(v.x);
  p.y = static_cast<float>(v.y);
  p.z = static_cast<float>(v.z);
  return p;
}

inline vec3 operator+(const vec3& a, const vec3& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline vec3 operator-(const vec3& a, const vec3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline vec3 operator*(const vec3& a, double s) { return {a.x * s, a.y * s, a.z * s}; }
inline double Dot(const vec3& a, const vec3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline vec3 Cross(const vec3& a, const vec3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

// The vector at length 1; a zero vector or one that is not finite gives zero.
inline vec3 Unit(const vec3& v) {
  const double length = std::sqrt(Dot(v, v));
  return length > 0.0 && std::isfinite(length) ? v * (1.0 / length) : vec3{};
}

inline bool IsZero(const vec3& v) { return v.x == 0.0 && v.y == 0.0 && v.z == 0.0; }

// Rows of a 3x3 part and a translation: the point p goes to p.x * row[0] + p.y * row[1] +
// p.z * row[2] + translation.
struct affine {
  vec3 row[3] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};
  vec3 translation;
};

inline vec3 TransformVector(const vec3& p, const affine& m) {
  return m.row[0] * p.x + m.row[1] * p.y + m.row[2] * p.z;
}

// a is applied first.
inline affine operator*(const affine& a, const affine& b) {
  return {
      {TransformVector(a.row[0], b), TransformVector(a.row[1], b), TransformVector(a.row[2], b)},
      TransformVector(a.translation, b) + b.translation};
}

inline double Volume(const affine& m) { return Dot(m.row[0], Cross(m.row[1], m.row[2])); }

// What transforms normals where the transform applies to points: its inverse transposed, up to a
// positive factor, so that a transform without an inverse has one too. A mirror keeps outward
// normals so.
inline affine ForNormals(const affine& m) {
  const double sign = Volume(m) < 0.0 ? -1.0 : 1.0;
  return {{Cross(m.row[1], m.row[2]) * sign, Cross(m.row[2], m.row[0]) * sign,
           Cross(m.row[0], m.row[1]) * sign},
          {}};
}

// The same without its size and translation, so that what it does to a normal keeps the normal's
// length where the transform has one scale.
inline affine OfUnitSize(const affine& m) {
  const double size = std::cbrt(std::abs(Volume(m)));
  const double factor = size > 0.0 ? 1.0 / size : 1.0;
  return {{m.row[0] * factor, m.row[1] * factor, m.row[2] * factor}, {}};
}

inline affine ToAffine(const cmatrix4& matrix) {
  const auto& m = matrix.m;
  return {{{m[0][0], m[0][1], m[0][2]}, {m[1][0], m[1][1], m[1][2]}, {m[2][0], m[2][1], m[2][2]}},
          {m[3][0], m[3][1], m[3][2]}};
}

CORE_API cmatrix4 ToMatrix(const affine& transform);

// Rows of the rotation that a quaternion of any length stands for; zero gives the identity.
CORE_API affine FromQuat(const cquat& rotation);
// The matrix must be a rotation.
CORE_API cquat ToQuat(const affine& rotation);
// The rotation of a transform without its scale, shear and mirror: row 0 keeps its direction, row
// 2 its side of row 0, row 1 follows from them.
CORE_API affine RotationOf(const affine& transform);
// false: singular, and the transform stays as it is.
CORE_API bool InvertInPlace(affine& transform);

}  // namespace core
