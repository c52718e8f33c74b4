#include "skeletal/pose.h"

#include "plugin/host/scene.h"

namespace {

cmatrix4 WorldRotation(const skelBoneFrame& packed) {
  cmatrix4 rotation;
  rotation.FromAngleX(-DecodeAngle(packed.angles[2]));
  rotation = rotation * PitchAndYaw(packed.angles[0], packed.angles[1]);
  rotation.Invert();
  return rotation;
}

void SetTranslation(cmatrix4& matrix, const cpoint3& position) {
  matrix.m[3][0] = position.x;
  matrix.m[3][1] = position.y;
  matrix.m[3][2] = position.z;
}

}  // namespace

void CalcBonePoses(const skelrig& rig, std::size_t frame, std::vector<cimpbone>& pBone) {
  if (pBone.empty() || frame >= rig.frames.size()) {
    return;
  }
  const skelFrame& head = *rig.frames[frame];
  const skelBoneFrame* const packed = skelrig::BoneFrames(&head);
  const cpoint3 parentOffset =
      MakePt3(head.parentOffset[0], head.parentOffset[1], head.parentOffset[2]);
  for (std::size_t i = 0; i < pBone.size(); ++i) {
    cimpbone& pose = pBone[i];
    pose.rotTM = WorldRotation(packed[i]);
    pose.offsetTM = PitchAndYaw(packed[i].ofsAngles[0], packed[i].ofsAngles[1]);
    pose.pos = MakePt3(rig.bones[i].parentDist, 0.0F, 0.0F) * pose.offsetTM;
    cpoint3 world;
    if (const std::int32_t parent = rig.Parent(i); parent == -1) {
      pose.pos = parentOffset + pose.pos;
      world = pose.pos;
    } else {
      world = pBone[static_cast<std::size_t>(parent)].worldTM.GetTrans() + pose.pos;
    }
    pose.worldTM = pose.rotTM;
    SetTranslation(pose.worldTM, world);
  }
}

ckey BoneKey(const skelrig& rig, const std::vector<cimpbone>& pBone, std::size_t index, int frame) {
  cmatrix4 local = pBone[index].worldTM;
  if (const std::int32_t parent = rig.Parent(index); parent != -1) {
    local = local * Inverse(pBone[static_cast<std::size_t>(parent)].worldTM);
  }
  ckey key;
  key.frame = frame;
  key.pos = local.GetTrans();
  key.rot = QuatFromMatrix(local);
  return key;
}
