#include "command/files/posedbox.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <vector>

#include "skeletal/angles.h"

namespace command {

namespace {

using vector = std::array<double, 3>;

// What takes an offset in a bone's space to the frame's: its rows with the offset, and a place.
struct bonepose {
  std::array<vector, 3> axes;
  vector place;

  vector At(const vector& offset) const {
    vector result = place;
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t j = 0; j < 3; ++j) {
        result[i] += axes[i][j] * offset[j];
      }
    }
    return result;
  }
};

std::array<vector, 3> Axes(std::int16_t pitch, std::int16_t yaw, std::int16_t roll) {
  const auto radians = [](std::int16_t unit) {
    return double{DecodeAngle(unit)} * (std::numbers::pi / 180.0);
  };
  const double sp = std::sin(radians(pitch));
  const double cp = std::cos(radians(pitch));
  const double sy = std::sin(radians(yaw));
  const double cy = std::cos(radians(yaw));
  const double sr = std::sin(radians(roll));
  const double cr = std::cos(radians(roll));
  return {{{cp * cy, cp * sy, -sp},
           {sr * sp * cy - cr * sy, sr * sp * sy + cr * cy, sr * cp},
           {cr * sp * cy + sr * sy, cr * sp * sy - sr * cy, cr * cp}}};
}

std::vector<bonepose> FirstPose(const skelrig& rig) {
  std::vector<bonepose> poses(static_cast<std::size_t>(rig.numBones));
  const skelFrame& frame = *rig.frames.front();
  const skelBoneFrame* const packed = skelrig::BoneFrames(&frame);
  for (std::size_t b = 0; b < poses.size(); ++b) {
    const auto& angles = packed[b].angles;
    poses[b].axes = Axes(angles[0], angles[1], angles[2]);
    const vector aim = Axes(packed[b].ofsAngles[0], packed[b].ofsAngles[1], 0)[0];
    const std::int32_t parent = rig.Parent(b);
    for (std::size_t i = 0; i < 3; ++i) {
      const double from = parent < 0 ? double{frame.parentOffset[i]}
                                     : poses[static_cast<std::size_t>(parent)].place[i];
      poses[b].place[i] = from + double{rig.bones[b].parentDist} * aim[i];
    }
  }
  return poses;
}

vector PlaceOf(const cvertexwalk& walk, const std::vector<bonepose>& poses) {
  vector place{};
  for (std::int32_t w = 0; w < walk.NumWeights(); ++w) {
    const skelWeight& weight = walk.Weights()[w];
    if (weight.boneIndex >= 0) {
      const vector part = poses[static_cast<std::size_t>(weight.boneIndex)].At(
          {weight.offset[0], weight.offset[1], weight.offset[2]});
      for (std::size_t i = 0; i < 3; ++i) {
        place[i] += double{weight.boneWeight} * part[i];
      }
    }
  }
  return place;
}

}  // namespace

corners PosedBox(const cmdmfile& mesh, const cmdxfile& skeleton) {
  corners box;
  box[0].fill(std::numeric_limits<double>::max());
  box[1].fill(std::numeric_limits<double>::lowest());
  if (skeleton.frames.empty()) {
    return box;
  }
  const std::vector<bonepose> poses = FirstPose(skeleton);
  for (const skelsurfentry& entry : mesh.surfaces) {
    cvertexwalk walk = mesh.Vertices(entry);
    for (std::int32_t v = 0; v < entry.numVerts; ++v, walk.Next()) {
      const vector place = PlaceOf(walk, poses);
      for (std::size_t i = 0; i < 3; ++i) {
        box[0][i] = std::min(box[0][i], place[i]);
        box[1][i] = std::max(box[1][i], place[i]);
      }
    }
  }
  return box;
}

}  // namespace command
