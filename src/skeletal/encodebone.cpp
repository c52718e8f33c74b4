#include "skeletal/encodebone.h"

#include "plugin/host/scene.h"
#include "skeletal/angles.h"

namespace {

// Angles about x, y and z, in degrees.
struct eulerangles {
  float x, y, z;
};

eulerangles EulerOf(const cmatrix4& matrix) {
  float angles[3];
  EulerFromMatrix(matrix, angles);
  return {angles[0], angles[1], angles[2]};
}

// A matrix with the direction of a bone from its parent in row 0, which alone decides on angles
// about y and z; up where both have one position.
cmatrix4 AlongX(cpoint3 direction) {
  direction.Normalize();
  // Again, for what rounding has left of it, which can decide on a step of an angle.
  direction.Normalize();
  cmatrix4 matrix;
  matrix.m[0][0] = direction.x;
  matrix.m[0][1] = direction.y;
  matrix.m[0][2] =
      direction.x == 0.0F && direction.y == 0.0F && direction.z == 0.0F ? 1.0F : direction.z;
  return matrix;
}

}  // namespace

skelBoneFrame EncodeBone(const cmatrix4& world, const cmatrix4* parent) {
  skelBoneFrame frame{};
  const eulerangles turn = EulerOf(Inverse(world));
  frame.angles = {EncodeAngle(turn.y), EncodeAngle(turn.z), EncodeAngle(turn.x), 0};
  if (parent != nullptr) {
    // A roll about the direction does not move the bone.
    const eulerangles offset = EulerOf(AlongX(world.GetTrans() - parent->GetTrans()));
    frame.ofsAngles = {EncodeAngle(offset.y), EncodeAngle(offset.z)};
  }
  return frame;
}
