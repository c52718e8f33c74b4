#include "plugin/host/values.h"

#include <cmath>
#include <cstring>

#include "core/affine.h"
#include "core/lanes.h"
#include "core/turn.h"

namespace {

constexpr float kIdentity[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

}  // namespace

cpoint3 cpoint3::operator-(const cpoint3& other) const {
  cpoint3 result;
  result.x = x - other.x;
  result.y = y - other.y;
  result.z = z - other.z;
  return result;
}

cpoint3 cpoint3::operator+(const cpoint3& other) const {
  cpoint3 result;
  result.x = x + other.x;
  result.y = y + other.y;
  result.z = z + other.z;
  return result;
}

cpoint3 cpoint3::operator*(float factor) const {
  cpoint3 result;
  result.x = x * factor;
  result.y = y * factor;
  result.z = z * factor;
  return result;
}

cpoint3 cpoint3::operator*(const cmatrix4& matrix) const {
  const double px = x;
  const double py = y;
  const double pz = z;
  cpoint3 result;
  result.x = static_cast<float>(px * matrix.m[0][0] + py * matrix.m[1][0] + pz * matrix.m[2][0] +
                                matrix.m[3][0]);
  result.y = static_cast<float>(px * matrix.m[0][1] + py * matrix.m[1][1] + pz * matrix.m[2][1] +
                                matrix.m[3][1]);
  result.z = static_cast<float>(px * matrix.m[0][2] + py * matrix.m[1][2] + pz * matrix.m[2][2] +
                                matrix.m[3][2]);
  return result;
}

float cpoint3::Length() const {
  const core::vec3 v = core::ToVec(*this);
  return static_cast<float>(std::sqrt(core::Dot(v, v)));
}

void cpoint3::Normalize() { *this = core::ToPoint(core::Unit(core::ToVec(*this))); }

void cquat::Identity() { *this = cquat(); }

cmatrix4::cmatrix4() { Identity(); }

void cmatrix4::Identity() { std::memcpy(m, kIdentity, sizeof m); }

void cmatrix4::Invert() {
  core::affine transform = core::ToAffine(*this);
  if (core::InvertInPlace(transform)) {
    *this = core::ToMatrix(transform);
  }
}

cpoint3 cmatrix4::GetRow3(int row) const {
  cpoint3 result;
  if (row >= 0 && row < 4) {
    result.x = m[row][0];
    result.y = m[row][1];
    result.z = m[row][2];
  }
  return result;
}

cpoint3 cmatrix4::GetTrans() const { return GetRow3(3); }

void cmatrix4::FromAngleX(float degrees) {
  const core::turn t = core::TurnOf(degrees);
  core::Store(m[0], core::float4{1.0F, 0.0F, 0.0F, 0.0F});
  core::Store(m[1], core::float4{0.0F, t.cosine, -t.sine, 0.0F});
  core::Store(m[2], core::float4{0.0F, t.sine, t.cosine, 0.0F});
  core::Store(m[3], core::float4{0.0F, 0.0F, 0.0F, 1.0F});
}

void cmatrix4::FromAngleY(float degrees) {
  const core::turn t = core::TurnOf(degrees);
  core::Store(m[0], core::float4{t.cosine, 0.0F, t.sine, 0.0F});
  core::Store(m[1], core::float4{0.0F, 1.0F, 0.0F, 0.0F});
  core::Store(m[2], core::float4{-t.sine, 0.0F, t.cosine, 0.0F});
  core::Store(m[3], core::float4{0.0F, 0.0F, 0.0F, 1.0F});
}

void cmatrix4::FromAngleZ(float degrees) {
  const core::turn t = core::TurnOf(degrees);
  core::Store(m[0], core::float4{t.cosine, -t.sine, 0.0F, 0.0F});
  core::Store(m[1], core::float4{t.sine, t.cosine, 0.0F, 0.0F});
  core::Store(m[2], core::float4{0.0F, 0.0F, 1.0F, 0.0F});
  core::Store(m[3], core::float4{0.0F, 0.0F, 0.0F, 1.0F});
}

// Sums in double precision, one row of the result at a time.
cmatrix4 cmatrix4::operator*(const cmatrix4& other) const {
  core::double4 rows[4];
  for (int k = 0; k < 4; ++k) {
    rows[k] = __builtin_convertvector(core::Load(other.m[k]), core::double4);
  }
  cmatrix4 result;
  for (int i = 0; i < 4; ++i) {
    const double a = m[i][0];
    const double b = m[i][1];
    const double c = m[i][2];
    const double d = m[i][3];
    const core::double4 sum = a * rows[0] + b * rows[1] + c * rows[2] + d * rows[3];
    core::Store(result.m[i], __builtin_convertvector(sum, core::float4));
  }
  return result;
}

cpoint3 cmatrix4::operator*(const cpoint3& point) const { return point * *this; }
