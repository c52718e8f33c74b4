#pragma once

#include <cstddef>
#include <vector>

#include "plugin/host/nodes.h"
#include "plugin/host/scene.h"
#include "skeletal/angles.h"
#include "skeletal/modelfile.h"

// Decodes a bone's stored angles. Its matrices are kept from one bone to the next, since a new
// matrix is set to the identity first.
class angledecoder {
 public:
  // The rotation from the world's axes to the bone's own: about X, then Y, then Z.
  cmatrix4 FromWorld(const skelBoneFrame& packed) {
    x_.FromAngleX(-DecodeAngle(packed.angles[2]));
    y_.FromAngleY(-DecodeAngle(packed.angles[0]));
    z_.FromAngleZ(-DecodeAngle(packed.angles[1]));
    return x_ * (y_ * z_);
  }

  // The offset from the parent along the world's axes.
  cpoint3 FromParent(float distance, const skelBoneFrame& packed) {
    y_.FromAngleY(-DecodeAngle(packed.ofsAngles[0]));
    z_.FromAngleZ(-DecodeAngle(packed.ofsAngles[1]));
    return MakePt3(distance, 0.0F, 0.0F) * y_ * z_;
  }

 private:
  cmatrix4 x_;
  cmatrix4 y_;
  cmatrix4 z_;
};

// The pose of one bone in the frame that was computed last.
struct cimpbone {
  // The world position of a bone without a parent; otherwise the offset from the parent, along
  // the world's axes.
  cpoint3 pos;
  // The rotation from the world's axes to the bone's own.
  cmatrix4 fromWorld;
  cmatrix4 worldTM;
  // The scene's bone, if bones are imported.
  cbone* bone = nullptr;
};

// Fills the poses, one for each bone of the rig, with those of a frame of the file. Without bones
// or such a frame nothing is read.
void CalcBonePoses(const skelrig& rig, std::size_t frame, std::vector<cimpbone>& pBone);

// The bone's pose relative to its parent as the key at `frame`.
ckey BoneKey(const skelrig& rig, const std::vector<cimpbone>& pBone, std::size_t index, int frame);
