#include "skeletal/exportframes.h"

#include <algorithm>

#include "plugin/run/progress.h"
#include "sampling/framebox.h"
#include "sampling/names.h"
#include "skeletal/encodebone.h"
#include "skeletal/torso.h"

namespace {

std::array<little<float>, 3> Stored(const cpoint3& point) { return {point.x, point.y, point.z}; }

void SampleWorlds(const std::vector<expbone>& Bones, int frame, std::vector<cmatrix4>& worlds) {
  for (std::size_t b = 0; b < Bones.size(); ++b) {
    worlds[b] = Bones[b].node->GetTMAtFrame(frame, kWholeTransform);
  }
}

const cmatrix4* ParentWorld(const expbone& bone, const std::vector<cmatrix4>& worlds) {
  const std::int32_t parent = bone.info.parent;
  return parent < 0 ? nullptr : &worlds[static_cast<std::size_t>(parent)];
}

// Fills what the bones' records have beside name, parent and flags.
void MeasureBones(std::vector<expbone>& Bones, std::vector<cmatrix4>& worlds) {
  SampleWorlds(Bones, 0, worlds);
  for (std::size_t b = 0; b < Bones.size(); ++b) {
    skelBoneInfo& info = Bones[b].info;
    info.torsoWeight = GetTorsoWeight(Bones[b].node->GetName());
    if (const cmatrix4* parent = ParentWorld(Bones[b], worlds); parent != nullptr) {
      info.parentDist = (worlds[b] * Inverse(*parent)).GetTrans().Length();
    }
  }
}

}  // namespace

void CalcFrames(const bonelist& list, const exportrange& range, const char* source,
                cprogress& progress, expskeleton& skeleton) {
  const std::size_t numBones = list.Bones().size();
  if (numBones == 0) {
    return;
  }
  const int count = range.NumFrames();
  const auto numFrames = static_cast<std::size_t>(count);
  AllocateNamed(skeleton.Frames, numFrames, {"Frames", source});
  AllocateNamed(skeleton.poses, numFrames * numBones, {"Frames[i].bones", source});
  CollectBones(list, list.Bones(), skeleton.Bones, {"Bones", source});
  std::vector<cmatrix4> worlds(numBones);
  MeasureBones(skeleton.Bones, worlds);
  const auto root = std::ranges::find(skeleton.Bones, -1,
                                      [](const expbone& bone) { return int{bone.info.parent}; });

  progress.SetRange(count);
  progress.SetPosition(0);
  const cpoint3 origin = CalcOrigin(range.originname);
  const std::vector<cnode*> surfaces = SurfaceNodes();
  auto pose = skeleton.poses.begin();
  for (int i = 0; i < count; ++i) {
    progress.SetText("Calculating Frame: %d of %d\n", i, count);
    progress.SetPosition(i);
    const int sceneFrame = range.start + i;
    const framebox box = MeasureFrame(surfaces, sceneFrame, origin);
    skelFrame& frame = skeleton.Frames[static_cast<std::size_t>(i)];
    frame.bounds = {Stored(box.minimum), Stored(box.maximum)};
    frame.localOrigin = Stored(origin);
    frame.radius = box.radius;
    if (root != skeleton.Bones.end()) {
      frame.parentOffset = Stored(root->node->GetPosAtFrame(sceneFrame) - origin);
    }
    SampleWorlds(skeleton.Bones, sceneFrame, worlds);
    for (std::size_t b = 0; b < numBones; ++b, ++pose) {
      *pose = EncodeBone(worlds[b], ParentWorld(skeleton.Bones[b], worlds));
    }
  }
}

void WriteFrames(filewriter& file, const expskeleton& skeleton) {
  const std::size_t numBones = skeleton.Bones.size();
  const skelBoneFrame* poses = skeleton.poses.data();
  for (const skelFrame& frame : skeleton.Frames) {
    file.Put(frame);
    file.PutBytes(poses, numBones * sizeof(skelBoneFrame));
    poses += numBones;
  }
}

void WriteBones(filewriter& file, const expskeleton& skeleton) {
  for (const expbone& bone : skeleton.Bones) {
    file.Put(bone.info);
  }
}
