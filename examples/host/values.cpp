// Points, rotations and matrices.

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "host.h"

namespace {

constexpr float kDegree = std::numbers::pi_v<float> / 180.0F;

float Dot(const cpoint3& a, const cpoint3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

void SetRow(cmatrix4& matrix, int row, const cpoint3& value) {
  matrix.m[row][0] = value.x;
  matrix.m[row][1] = value.y;
  matrix.m[row][2] = value.z;
}

// The rows of the rotation with their lengths made 1.
cmatrix4 Unscaled(const cmatrix4& matrix) {
  cmatrix4 result;
  for (int row = 0; row < 3; ++row) {
    cpoint3 direction = matrix.GetRow3(row);
    direction.Normalize();
    SetRow(result, row, direction);
  }
  return result;
}

}  // namespace

cpoint3 MakePt3(float x, float y, float z) {
  cpoint3 point;
  point.x = x;
  point.y = y;
  point.z = z;
  return point;
}

cpoint3 Cross(const cpoint3& a, const cpoint3& b) {
  return MakePt3(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}

cpoint3 cpoint3::operator-(const cpoint3& other) const {
  return MakePt3(x - other.x, y - other.y, z - other.z);
}
cpoint3 cpoint3::operator+(const cpoint3& other) const {
  return MakePt3(x + other.x, y + other.y, z + other.z);
}
cpoint3 cpoint3::operator*(float factor) const {
  return MakePt3(x * factor, y * factor, z * factor);
}
cpoint3 cpoint3::operator*(const cmatrix4& matrix) const {
  return matrix.GetRow3(0) * x + matrix.GetRow3(1) * y + matrix.GetRow3(2) * z + matrix.GetTrans();
}
float cpoint3::Length() const { return std::sqrt(Dot(*this, *this)); }
void cpoint3::Normalize() {
  if (const float length = Length(); length > 0.0F) {
    *this = *this * (1.0F / length);
  }
}

void cquat::Identity() { *this = cquat(); }

cmatrix4::cmatrix4() { Identity(); }
void cmatrix4::Identity() {
  for (int row = 0; row < 4; ++row) {
    for (int c = 0; c < 4; ++c) {
      m[row][c] = row == c ? 1.0F : 0.0F;
    }
  }
}
cpoint3 cmatrix4::GetRow3(int row) const { return MakePt3(m[row][0], m[row][1], m[row][2]); }
cpoint3 cmatrix4::GetTrans() const { return GetRow3(3); }

void cmatrix4::FromAngleX(float degrees) {
  const float c = std::cos(degrees * kDegree);
  const float s = std::sin(degrees * kDegree);
  Identity();
  SetRow(*this, 1, MakePt3(0, c, -s));
  SetRow(*this, 2, MakePt3(0, s, c));
}
void cmatrix4::FromAngleY(float degrees) {
  const float c = std::cos(degrees * kDegree);
  const float s = std::sin(degrees * kDegree);
  Identity();
  SetRow(*this, 0, MakePt3(c, 0, s));
  SetRow(*this, 2, MakePt3(-s, 0, c));
}
void cmatrix4::FromAngleZ(float degrees) {
  const float c = std::cos(degrees * kDegree);
  const float s = std::sin(degrees * kDegree);
  Identity();
  SetRow(*this, 0, MakePt3(c, -s, 0));
  SetRow(*this, 1, MakePt3(s, c, 0));
}

cmatrix4 cmatrix4::operator*(const cmatrix4& other) const {
  cmatrix4 product;
  for (int row = 0; row < 4; ++row) {
    for (int c = 0; c < 4; ++c) {
      product.m[row][c] = 0.0F;
      for (int k = 0; k < 4; ++k) {
        product.m[row][c] += m[row][k] * other.m[k][c];
      }
    }
  }
  return product;
}
cpoint3 cmatrix4::operator*(const cpoint3& point) const { return point * *this; }

// The columns of the inverse are the cross products of the rows over the determinant.
void cmatrix4::Invert() {
  const cpoint3 columns[] = {Cross(GetRow3(1), GetRow3(2)), Cross(GetRow3(2), GetRow3(0)),
                             Cross(GetRow3(0), GetRow3(1))};
  const float determinant = Dot(GetRow3(0), columns[0]);
  if (determinant == 0.0F) {
    return;
  }
  cmatrix4 inverse;
  for (int c = 0; c < 3; ++c) {
    const cpoint3 column = columns[c] * (1.0F / determinant);
    inverse.m[0][c] = column.x;
    inverse.m[1][c] = column.y;
    inverse.m[2][c] = column.z;
  }
  SetRow(inverse, 3, GetTrans() * inverse * -1.0F);
  *this = inverse;
}

cmatrix4 Inverse(const cmatrix4& matrix) {
  cmatrix4 inverse = matrix;
  inverse.Invert();
  return inverse;
}

cmatrix4 MatrixOf(const cquat& q, const cpoint3& position, const cpoint3& scale) {
  cmatrix4 matrix;
  SetRow(matrix, 0,
         MakePt3(1 - 2 * (q.y * q.y + q.z * q.z), 2 * (q.x * q.y + q.w * q.z),
                 2 * (q.x * q.z - q.w * q.y)) *
             scale.x);
  SetRow(matrix, 1,
         MakePt3(2 * (q.x * q.y - q.w * q.z), 1 - 2 * (q.x * q.x + q.z * q.z),
                 2 * (q.y * q.z + q.w * q.x)) *
             scale.y);
  SetRow(matrix, 2,
         MakePt3(2 * (q.x * q.z + q.w * q.y), 2 * (q.y * q.z - q.w * q.x),
                 1 - 2 * (q.x * q.x + q.y * q.y)) *
             scale.z);
  SetRow(matrix, 3, position);
  return matrix;
}

// By the largest of the diagonal's elements or, where all are small, by the trace.
cquat QuatFromMatrix(const cmatrix4& matrix) {
  const cmatrix4 r = Unscaled(matrix);
  cquat q;
  if (const float trace = r.m[0][0] + r.m[1][1] + r.m[2][2]; trace > 0.0F) {
    const float s = 2.0F * std::sqrt(1.0F + trace);
    q.w = s / 4.0F;
    q.x = (r.m[1][2] - r.m[2][1]) / s;
    q.y = (r.m[2][0] - r.m[0][2]) / s;
    q.z = (r.m[0][1] - r.m[1][0]) / s;
    return q;
  }
  const int i = r.m[0][0] >= r.m[1][1] && r.m[0][0] >= r.m[2][2] ? 0
                : r.m[1][1] >= r.m[2][2]                         ? 1
                                                                 : 2;
  const int j = (i + 1) % 3;
  const int k = (i + 2) % 3;
  const float s = 2.0F * std::sqrt(1.0F + r.m[i][i] - r.m[j][j] - r.m[k][k]);
  float axis[3];
  axis[i] = s / 4.0F;
  axis[j] = (r.m[i][j] + r.m[j][i]) / s;
  axis[k] = (r.m[i][k] + r.m[k][i]) / s;
  q.x = axis[0];
  q.y = axis[1];
  q.z = axis[2];
  q.w = (r.m[j][k] - r.m[k][j]) / s;
  return q;
}

cquat EulerToQuat(const cpoint3& angles) {
  const float cp = std::cos(angles.x * kDegree / 2);
  const float sp = std::sin(angles.x * kDegree / 2);
  const float cy = std::cos(angles.y * kDegree / 2);
  const float sy = std::sin(angles.y * kDegree / 2);
  const float cr = std::cos(angles.z * kDegree / 2);
  const float sr = std::sin(angles.z * kDegree / 2);
  cquat q;
  q.x = sr * cp * cy - cr * sp * sy;
  q.y = cr * sp * cy + sr * cp * sy;
  q.z = cr * cp * sy - sr * sp * cy;
  q.w = cr * cp * cy + sr * sp * sy;
  return q;
}

cpoint3 QuatToEuler(const cquat& rotation) {
  const cmatrix4 r = MatrixOf(rotation, {}, MakePt3(1, 1, 1));
  const float pitch = std::asin(std::clamp(-r.m[0][2], -1.0F, 1.0F)) / kDegree;
  if (std::abs(r.m[0][2]) > 0.9999995F) {
    return MakePt3(pitch, std::atan2(-r.m[1][0], r.m[1][1]) / kDegree, 0.0F);
  }
  return MakePt3(pitch, std::atan2(r.m[0][1], r.m[0][0]) / kDegree,
                 std::atan2(r.m[1][2], r.m[2][2]) / kDegree);
}

void EulerFromMatrix(const cmatrix4& matrix, float* angles) {
  const cmatrix4 r = Unscaled(matrix);
  angles[0] = std::atan2(-r.m[1][2], r.m[2][2]) / kDegree;
  angles[1] = std::atan2(r.m[0][2], std::hypot(r.m[0][0], r.m[0][1])) / kDegree;
  angles[2] = std::atan2(-r.m[0][1], r.m[0][0]) / kDegree;
}

void MatrixLookAt(cmatrix4& result, const cpoint3& direction, const cpoint3& up) {
  cpoint3 forward = direction.Length() > 0.0F ? direction : MakePt3(0, 0, 1);
  forward.Normalize();
  cpoint3 side = Cross(up, forward);
  if (side.Length() < 1e-6F) {
    side = Cross(std::abs(forward.x) < 0.5F ? MakePt3(1, 0, 0) : MakePt3(0, 0, 1), forward);
  }
  side.Normalize();
  result.Identity();
  SetRow(result, 0, side);
  SetRow(result, 1, Cross(forward, side));
  SetRow(result, 2, forward);
}

void BoxOf(const std::vector<cpoint3>& points, cpoint3& minimum, cpoint3& maximum) {
  minimum = maximum = points.empty() ? cpoint3() : points.front();
  for (const cpoint3& point : points) {
    minimum = MakePt3(std::min(minimum.x, point.x), std::min(minimum.y, point.y),
                      std::min(minimum.z, point.z));
    maximum = MakePt3(std::max(maximum.x, point.x), std::max(maximum.y, point.y),
                      std::max(maximum.z, point.z));
  }
}

void CalcTMBBox(cpoint3& minimum, cpoint3& maximum, const cmatrix4& matrix) {
  std::vector<cpoint3> corners;
  for (const float x : {minimum.x, maximum.x}) {
    for (const float y : {minimum.y, maximum.y}) {
      for (const float z : {minimum.z, maximum.z}) {
        corners.push_back(MakePt3(x, y, z) * matrix);
      }
    }
  }
  BoxOf(corners, minimum, maximum);
}
