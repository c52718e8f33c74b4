#pragma once

// Value types that cross the seam between module and host. Their layout is part of the seam:
// both sides read and write the fields directly, so widths and order are checked below.
//
// Conventions: points are row vectors, a matrix has four rows of four with the translation in
// the first three elements of the last row, and in P * M * N the matrix M is applied first.
// Angles are in degrees, lengths in the host's units.

#include <cstddef>
#include <cstdint>

#include "plugin/host/api.h"

class cmatrix4;

class CORE_API cpoint3 {
 public:
  float x = 0.0F;
  float y = 0.0F;
  float z = 0.0F;

  cpoint3 operator-(const cpoint3& other) const;
  cpoint3 operator+(const cpoint3& other) const;
  cpoint3 operator*(float factor) const;
  // The row vector (x, y, z, 1) times the matrix: translation included.
  cpoint3 operator*(const cmatrix4& matrix) const;
  float Length() const;
  // Makes the length 1; a zero vector stays zero.
  void Normalize();
};

// A rotation as a unit quaternion.
class CORE_API cquat {
 public:
  float x = 0.0F;
  float y = 0.0F;
  float z = 0.0F;
  float w = 1.0F;

  void Identity();
};

class CORE_API cmatrix4 {
 public:
  // Rows of four; m[3][0..2] is the translation. A new matrix is the identity.
  float m[4][4];

  cmatrix4();
  void Identity();
  // In place. A singular matrix is left as it is.
  void Invert();
  cpoint3 GetRow3(int row) const;
  cpoint3 GetTrans() const;
  // Each replaces this matrix by the rotation about one axis:
  //   X(t) = 1  0  0    Y(t) =  c  0  s    Z(t) =  c -s  0
  //          0  c -s            0  1  0            s  c  0
  //          0  s  c           -s  0  c            0  0  1
  void FromAngleX(float degrees);
  void FromAngleY(float degrees);
  void FromAngleZ(float degrees);
  // this x other: this one is applied first.
  cmatrix4 operator*(const cmatrix4& other) const;
  // The point as a row vector times this matrix, translation included.
  cpoint3 operator*(const cpoint3& point) const;
};

// One key of an animation track.
struct ckey {
  std::int32_t frame = 0;
  cpoint3 pos;
  cquat rot;
  cpoint3 scale{1.0F, 1.0F, 1.0F};
};

// One triangle. type 2 and flags 0xE0 (all three edges visible) are what a plain triangle has.
struct cface {
  std::int32_t type = 2;
  std::uint16_t flags = 0xE0;
  std::int32_t v[3] = {-1, -1, -1};
  std::int32_t tv[3] = {-1, -1, -1};
  std::int32_t group = 0;
  std::int32_t matid = 0;
};

class cnode;

// One joint's influence on one vertex of a skin. offset and normal are in the joint's own space.
struct cskinweight {
  float weight = 0.0F;
  cpoint3 offset;
  cpoint3 normal;
  cnode* bone = nullptr;
};

static_assert(sizeof(cpoint3) == 12 && sizeof(cquat) == 16 && sizeof(cmatrix4) == 64);
static_assert(offsetof(cpoint3, y) == 4 && offsetof(cpoint3, z) == 8);
static_assert(offsetof(cquat, y) == 4 && offsetof(cquat, z) == 8 && offsetof(cquat, w) == 12);
static_assert(sizeof(ckey) == 44 && offsetof(ckey, pos) == 4 && offsetof(ckey, rot) == 16 &&
              offsetof(ckey, scale) == 32);
static_assert(sizeof(cface) == 40 && offsetof(cface, flags) == 4 && offsetof(cface, v) == 8 &&
              offsetof(cface, tv) == 20 && offsetof(cface, group) == 32 &&
              offsetof(cface, matid) == 36);
static_assert(offsetof(cskinweight, offset) == 4 && offsetof(cskinweight, normal) == 16 &&
              offsetof(cskinweight, bone) == (sizeof(void*) == 8 ? 32 : 28));
