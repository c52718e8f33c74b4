#include "skeletal/encodebone.h"

#include <utility>

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

// Three axes of which the first, along which a bone lies from its parent, is the direction. With
// two rows exchanged they are a mirror, not a rotation, of which row 0 alone can be read.
cmatrix4 AlongX(const cpoint3& direction) {
  cmatrix4 matrix;
  MatrixLookAt(matrix, direction, MakePt3(0.0F, 1.0F, 0.0F));
  std::swap(matrix.m[0], matrix.m[2]);
  return matrix;
}

}  // namespace

skelBoneFrame EncodeBone(const cmatrix4& world, const cmatrix4* parent) {
  skelBoneFrame frame{};
  const eulerangles turn = EulerOf(Inverse(world));
  frame.angles = {EncodeAngle(turn.y), EncodeAngle(turn.z), EncodeAngle(turn.x), 0};
  if (parent != nullptr) {
    cpoint3 direction = world.GetTrans() - parent->GetTrans();
    direction.Normalize();
    // A roll about the direction does not move the bone.
    const eulerangles offset = EulerOf(AlongX(direction));
    frame.ofsAngles = {EncodeAngle(offset.y), EncodeAngle(offset.z)};
  }
  return frame;
}
