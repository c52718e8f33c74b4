#include <cmath>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <numbers>

#include "testscene.h"

namespace {

constexpr double kDegree = std::numbers::pi / 180.0;

struct axes {
  double row[3][3];
};

// Forward, left and up of the games' angles, written out.
axes AxesOf(double pitch, double yaw, double roll) {
  const double sp = std::sin(pitch * kDegree), cp = std::cos(pitch * kDegree);
  const double sy = std::sin(yaw * kDegree), cy = std::cos(yaw * kDegree);
  const double sr = std::sin(roll * kDegree), cr = std::cos(roll * kDegree);
  return {{{cp * cy, cp * sy, -sp},
           {sr * sp * cy - cr * sy, sr * sp * sy + cr * cy, sr * cp},
           {cr * sp * cy + sr * sy, cr * sp * sy - sr * cy, cr * cp}}};
}

void ExpectRows(const cmatrix4& matrix, const axes& expected) {
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      EXPECT_NEAR(matrix.m[i][j], expected.row[i][j], 2e-6) << i << ' ' << j;
    }
  }
}

cmatrix4 FromAngles(float x, float y, float z) {
  cmatrix4 turns[3];
  turns[0].FromAngleX(x);
  turns[1].FromAngleY(y);
  turns[2].FromAngleZ(z);
  return turns[0] * turns[1] * turns[2];
}

const float kAngles[] = {-180.0F, -135.5F, -90.0F, -89.99F, -30.0F, 0.0F,
                         1e-3F,   45.0F,   89.95F, 90.0F,   123.0F, 180.0F};

TEST(Maths, AnglesQuaternionsAndMatricesAreTheGamesOwn) {
  for (const float pitch : kAngles) {
    for (const float yaw : kAngles) {
      for (const float roll : kAngles) {
        SCOPED_TRACE(testing::Message() << pitch << ' ' << yaw << ' ' << roll);
        const axes expected = AxesOf(pitch, yaw, roll);
        const cmatrix4 matrix = FromAngles(-roll, -pitch, -yaw);
        ExpectRows(matrix, expected);

        const cquat q = EulerToQuat(MakePt3(pitch, yaw, roll));
        const cquat p = QuatFromMatrix(matrix);
        EXPECT_NEAR(std::abs(q.x * p.x + q.y * p.y + q.z * p.z + q.w * p.w), 1.0F, 1e-6F);

        const cpoint3 back = QuatToEuler(q);
        EXPECT_TRUE(std::abs(back.x) <= 90.0F && (std::abs(pitch) != 90.0F || back.z == 0.0F));
        ExpectRows(FromAngles(-back.z, -back.x, -back.y), expected);

        float xyz[3];
        EulerFromMatrix(matrix, xyz);
        ExpectRows(FromAngles(xyz[0], xyz[1], xyz[2]), expected);
      }
    }
  }
}

TEST(Maths, LookAtIsARotationWithItsDirectionInRowTwo) {
  for (const cpoint3& direction : {cpoint3{0, 1, 0}, {0, -1, 0}, {0.6F, 0, -0.8F}}) {
    cmatrix4 look;
    MatrixLookAt(look, direction, MakePt3(0, 1, 0));
    ExpectPoint(look.GetRow3(2), direction, 1e-6F);
    for (const int i : {0, 1, 2}) {
      EXPECT_NEAR(look.GetRow3(i).Length(), 1.0F, 1e-6F);
    }
    const cpoint3 x = look.GetRow3(0), y = look.GetRow3(1);
    ExpectPoint({x.y * y.z - x.z * y.y, x.z * y.x - x.x * y.z, x.x * y.y - x.y * y.x}, direction,
                1e-6F);
  }
}

// What a module of another compiler run relies on beside the sizes: where its virtual calls land.
TEST(Seam, OrderOfTheTable) {
  const auto slot = [](auto member) {
    std::ptrdiff_t parts[2];
    static_assert(sizeof member == sizeof parts);
    std::memcpy(parts, &member, sizeof parts);
    return (parts[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
  };
  const std::ptrdiff_t slots[] = {
      slot(&cnode::Destroy),      slot(&cnode::SetName),       slot(&cnode::GetName),
      slot(&cnode::GetType),      slot(&cnode::GetFlags),      slot(&cnode::GetBBoxAtFrame),
      slot(&cnode::GetParent),    slot(&cnode::AttachChild),   slot(&cnode::SetMaterial),
      slot(&cnode::GetMaterial),  slot(&cnode::GetPosAtFrame), slot(&cnode::GetRotAtFrame),
      slot(&cnode::GetTMAtFrame), slot(&cnode::UpdateAnim)};
  for (std::ptrdiff_t i = 0; i < std::ssize(slots); ++i) {
    EXPECT_EQ(slots[i], i);
  }
}

}  // namespace
