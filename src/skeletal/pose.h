#pragma once

#include <cstdint>
#include <vector>

#include "plugin/host/nodes.h"
#include "skeletal/angles.h"
#include "skeletal/modelfile.h"

// The rotation about Y by `pitch`, then about Z by `yaw`, of stored units.
inline cmatrix4 PitchAndYaw(std::int16_t pitch, std::int16_t yaw) {
  cmatrix4 aboutY;
  cmatrix4 aboutZ;
  aboutY.FromAngleY(-DecodeAngle(pitch));
  aboutZ.FromAngleZ(-DecodeAngle(yaw));
  return aboutY * aboutZ;
}

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
