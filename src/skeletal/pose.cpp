#include "skeletal/pose.h"

namespace {

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
  angledecoder decoder;
  for (std::size_t i = 0; i < pBone.size(); ++i) {
    cimpbone& pose = pBone[i];
    pose.fromWorld = decoder.FromWorld(packed[i]);
    pose.worldTM = Inverse(pose.fromWorld);
    pose.pos = decoder.FromParent(rig.bones[i].parentDist, packed[i]);
    cpoint3 world;
    if (const std::int32_t parent = rig.Parent(i); parent == -1) {
      pose.pos = parentOffset + pose.pos;
      world = pose.pos;
    } else {
      world = pBone[static_cast<std::size_t>(parent)].worldTM.GetTrans() + pose.pos;
    }
    SetTranslation(pose.worldTM, world);
  }
}

ckey BoneKey(const skelrig& rig, const std::vector<cimpbone>& pBone, std::size_t index, int frame) {
  const cimpbone& pose = pBone[index];
  ckey key;
  key.frame = frame;
  if (const std::int32_t parent = rig.Parent(index); parent != -1) {
    // The bone's world matrix times the inverse of its parent's, of which both parts are at hand.
    const cmatrix4& fromParent = pBone[static_cast<std::size_t>(parent)].fromWorld;
    key.pos = pose.pos * fromParent;
    key.rot = QuatFromMatrix(pose.worldTM * fromParent);
  } else {
    key.pos = pose.pos;
    key.rot = QuatFromMatrix(pose.worldTM);
  }
  return key;
}
