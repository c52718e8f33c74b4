#include <algorithm>
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
  const double sp = std::sin(pitch * kDegree);
  const double cp = std::cos(pitch * kDegree);
  const double sy = std::sin(yaw * kDegree);
  const double cy = std::cos(yaw * kDegree);
  const double sr = std::sin(roll * kDegree);
  const double cr = std::cos(roll * kDegree);
  return {{{cp * cy, cp * sy, -sp},
           {sr * sp * cy - cr * sy, sr * sp * sy + cr * cy, sr * cp},
           {cr * sp * cy + sr * sy, cr * sp * sy - sr * cy, cr * cp}}};
}

// p goes to q p q^-1, by the product of quaternions.
void TurnBy(const cquat& q, const double p[3], double out[3]) {
  const double tx = 2.0 * (q.y * p[2] - q.z * p[1]);
  const double ty = 2.0 * (q.z * p[0] - q.x * p[2]);
  const double tz = 2.0 * (q.x * p[1] - q.y * p[0]);
  out[0] = p[0] + q.w * tx + q.y * tz - q.z * ty;
  out[1] = p[1] + q.w * ty + q.z * tx - q.x * tz;
  out[2] = p[2] + q.w * tz + q.x * ty - q.y * tx;
}

void ExpectRows(const cmatrix4& matrix, const axes& expected) {
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      EXPECT_NEAR(matrix.m[i][j], expected.row[i][j], 2e-6) << i << ' ' << j;
    }
  }
}

cmatrix4 FromAngles(float x, float y, float z) {
  cmatrix4 mx;
  cmatrix4 my;
  cmatrix4 mz;
  mx.FromAngleX(x);
  my.FromAngleY(y);
  mz.FromAngleZ(z);
  return mx * my * mz;
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
        const cquat again = QuatFromMatrix(matrix);
        EXPECT_NEAR(std::abs(q.x * again.x + q.y * again.y + q.z * again.z + q.w * again.w), 1.0,
                    1e-6);
        for (int i = 0; i < 3; ++i) {
          const double unit[3] = {i == 0 ? 1.0 : 0.0, i == 1 ? 1.0 : 0.0, i == 2 ? 1.0 : 0.0};
          double turned[3];
          TurnBy(q, unit, turned);
          for (int j = 0; j < 3; ++j) {
            EXPECT_NEAR(turned[j], expected.row[i][j], 1e-6);
          }
        }

        const cpoint3 back = QuatToEuler(q);
        EXPECT_LE(std::abs(back.x), 90.0F);
        if (std::abs(pitch) == 90.0F) {
          EXPECT_EQ(back.z, 0.0F);
        }
        ExpectRows(FromAngles(-back.z, -back.x, -back.y), expected);

        float xyz[3];
        EulerFromMatrix(matrix, xyz);
        ExpectRows(FromAngles(xyz[0], xyz[1], xyz[2]), expected);
      }
    }
  }
}

TEST(Maths, EulerFromMatrixReadsScaledAndMirroredMatrices) {
  const cmatrix4 plain = FromAngles(20.0F, -35.0F, 140.0F);
  cmatrix4 scaled = plain;
  cmatrix4 mirrored = plain;
  for (int j = 0; j < 3; ++j) {
    scaled.m[0][j] *= 3.0F;
    scaled.m[1][j] *= 0.01F;
    scaled.m[2][j] *= 40.0F;
    mirrored.m[0][j] = plain.m[2][j];
    mirrored.m[2][j] = plain.m[0][j];
  }
  float angles[3];
  EulerFromMatrix(scaled, angles);
  ExpectPoint(MakePt3(angles[0], angles[1], angles[2]), MakePt3(20.0F, -35.0F, 140.0F), 1e-4F);
  EulerFromMatrix(mirrored, angles);
  ExpectPoint(FromAngles(angles[0], angles[1], angles[2]).GetRow3(0), plain.GetRow3(2), 1e-6F);
  const cquat q = QuatFromMatrix(scaled);
  const cquat p = QuatFromMatrix(plain);
  EXPECT_NEAR(std::abs(q.x * p.x + q.y * p.y + q.z * p.z + q.w * p.w), 1.0F, 1e-6F);
}

TEST(Maths, LookAtIsARotationWithItsDirectionInRowTwo) {
  const cpoint3 directions[] = {MakePt3(0, 1, 0),  MakePt3(0, -1, 0),      MakePt3(0, 0, 0),
                                MakePt3(1, 2, -3), MakePt3(0, 0, -1e-20F), MakePt3(1e-9F, 1, 0),
                                MakePt3(5, 0, 0)};
  for (const cpoint3& direction : directions) {
    cmatrix4 look;
    MatrixLookAt(look, direction, MakePt3(0, 1, 0));
    cpoint3 wanted = direction;
    wanted.Normalize();
    if (wanted.Length() > 0.0F) {
      ExpectPoint(look.GetRow3(2), wanted, 1e-6F);
    }
    const cmatrix4 product = look * Inverse(look);
    ExpectRows(product, {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}});
    // The inverse of a rotation is its transpose, and a rotation keeps hands.
    EXPECT_NEAR(look.m[0][1], Inverse(look).m[1][0], 1e-6F);
    const cpoint3 a = look.GetRow3(0);
    const cpoint3 b = look.GetRow3(1);
    EXPECT_NEAR((a.x * b.y - a.y * b.x) * look.m[2][2] + (a.y * b.z - a.z * b.y) * look.m[2][0] +
                    (a.z * b.x - a.x * b.z) * look.m[2][1],
                1.0F, 1e-5F);
  }
}

TEST(Maths, PointsBoxesAndInverses) {
  cmatrix4 matrix = FromAngles(15.0F, 70.0F, -100.0F);
  for (int j = 0; j < 3; ++j) {
    matrix.m[1][j] *= -2.0F;
    matrix.m[3][j] = 100.0F * static_cast<float>(j) - 50.0F;
  }
  const cpoint3 low = MakePt3(-1, -2, -3);
  const cpoint3 high = MakePt3(4, 5, 6);
  ExpectPoint(low * matrix * Inverse(matrix), low, 1e-4F);
  ExpectPoint(matrix * MakePt3(0, 0, 0), matrix.GetTrans(), 0.0F);

  cpoint3 least = MakePt3(1e9F, 1e9F, 1e9F);
  cpoint3 most = MakePt3(-1e9F, -1e9F, -1e9F);
  for (int corner = 0; corner < 8; ++corner) {
    const cpoint3 at =
        MakePt3((corner & 1) != 0 ? low.x : high.x, (corner & 2) != 0 ? low.y : high.y,
                (corner & 4) != 0 ? low.z : high.z) *
        matrix;
    least = MakePt3(std::min(least.x, at.x), std::min(least.y, at.y), std::min(least.z, at.z));
    most = MakePt3(std::max(most.x, at.x), std::max(most.y, at.y), std::max(most.z, at.z));
  }
  cpoint3 a = low;
  cpoint3 b = high;
  CalcTMBBox(a, b, matrix);
  ExpectPoint(a, least, 1e-4F);
  ExpectPoint(b, most, 1e-4F);

  cmatrix4 flat = matrix;
  for (int j = 0; j < 3; ++j) {
    flat.m[2][j] = 2.0F * flat.m[0][j];
  }
  const cmatrix4 before = flat;
  flat.Invert();
  ExpectPoint(flat.GetRow3(2), before.GetRow3(2), 0.0F);
  cpoint3 zero;
  zero.Normalize();
  EXPECT_EQ(zero.Length(), 0.0F);
}

// What a module of another compiler run relies on beside the sizes: where its virtual calls land
// and which words it reads.
TEST(Seam, OrderOfTheTableAndOfPublicFields) {
  const auto slot = [](auto member) {
    std::ptrdiff_t parts[2];
    static_assert(sizeof member == sizeof parts);
    std::memcpy(parts, &member, sizeof parts);
    return (parts[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
  };
  EXPECT_EQ(slot(&cnode::Destroy), 0);
  EXPECT_EQ(slot(&cnode::SetName), 1);
  EXPECT_EQ(slot(&cnode::GetName), 2);
  EXPECT_EQ(slot(&cnode::GetType), 3);
  EXPECT_EQ(slot(&cnode::GetFlags), 4);
  EXPECT_EQ(slot(&cnode::GetBBoxAtFrame), 5);
  EXPECT_EQ(slot(&cnode::GetParent), 6);
  EXPECT_EQ(slot(&cnode::AttachChild), 7);
  EXPECT_EQ(slot(&cnode::SetMaterial), 8);
  EXPECT_EQ(slot(&cnode::GetMaterial), 9);
  EXPECT_EQ(slot(&cnode::GetPosAtFrame), 10);
  EXPECT_EQ(slot(&cnode::GetRotAtFrame), 11);
  EXPECT_EQ(slot(&cnode::GetTMAtFrame), 12);
  EXPECT_EQ(slot(&cnode::UpdateAnim), 13);

  cbooleanarray flags;
  flags.Resize(7);
  std::int32_t word = 0;
  std::memcpy(&word, reinterpret_cast<const char*>(&flags) + 4, sizeof word);
  EXPECT_EQ(word, 7);

  cexpmesh mesh;
  const auto at = [&mesh](const void* field) {
    return static_cast<const char*>(field) - reinterpret_cast<const char*>(&mesh);
  };
  const std::ptrdiff_t places[] = {at(&mesh.numFaces),   at(&mesh.verts), at(&mesh.numVerts),
                                   at(&mesh.vertsBound), at(&mesh.faces), at(&mesh.faceFlags),
                                   at(&mesh.vertMap)};
  EXPECT_EQ(places[0], 0);
  EXPECT_TRUE(std::is_sorted(std::begin(places), std::end(places)));
}

}  // namespace
