#include "command/content/skeletalcontent.h"
#include "command/content/surfaces.h"
#include "command/surfaces.h"
#include "core/affine.h"
#include "plugin/host/scene.h"
#include "sampling/storednames.h"
#include "skeletal/pose.h"
#include "skeletal/torso.h"

namespace command {

namespace {

bool AreNear(const core::vec3& found, const core::vec3& wanted) {
  return IsNear(found.x, wanted.x, kAxis) && IsNear(found.y, wanted.y, kAxis) &&
         IsNear(found.z, wanted.z, kAxis);
}

class rigcheck {
 public:
  rigcheck(const skelrig& rig, const bonenumbers& numbers, const writtenfrom& from)
      : rig_(rig), from_(from), numbers_(numbers) {}

  std::string Fault(std::int32_t torsoParent) const {
    const std::vector<cnode*>& bones = numbers_.Bones();
    std::vector<std::string> names;
    names.reserve(bones.size());
    for (cnode* bone : bones) {
      names.emplace_back(bone->GetName());
    }
    if (torsoParent != from_.finish.torso.value_or(FindTorsoParent(names))) {
      return "its torso hangs on another bone than in the scene";
    }
    for (std::size_t b = 0; b < bones.size(); ++b) {
      if (const std::string fault = FaultOfBone(b); !fault.empty()) {
        return NumberedName("bone", b, bones[b]->GetName()) + ": " + fault;
      }
    }
    if (from_.range && !bones.empty()) {
      for (const std::int32_t frame : SpreadOf(rig_.numFrames)) {
        if (const std::string fault = FaultOfFrame(frame); !fault.empty()) {
          return "frame " + std::to_string(frame) + ": " + fault;
        }
      }
    }
    return {};
  }

 private:
  cnode* ParentOf(cnode& bone) const {
    return numbers_.Of(bone.GetParent()) < 0 ? nullptr : bone.GetParent();
  }

  std::string FaultOfBone(std::size_t b) const {
    const skelBoneInfo& found = rig_.bones[b];
    cnode& bone = *numbers_.Bones()[b];
    if (!HasName(found.name, bone.GetName())) {
      return "its name is " + std::string(NameText(found.name).data());
    }
    cnode* const parent = ParentOf(bone);
    const std::int32_t number = numbers_.Of(parent);
    if (found.parent != number) {
      return "its parent is " + std::to_string(found.parent) + " instead of " +
             std::to_string(number);
    }
    if (found.flags != (IsTagName(bone.GetName()) ? 1 : 0)) {
      return "its flags are " + std::to_string(found.flags);
    }
    if (found.torsoWeight != TorsoWeight(b, number)) {
      return "it follows the torso otherwise than in the scene";
    }
    const double length =
        parent == nullptr ? 0.0 : LocalAt(bone, parent, 0, kWholeTransform).GetTrans().Length();
    return IsNear(float{found.parentDist}, length, kLength)
               ? ""
               : "its distance from its parent is not that of the scene";
  }

  // By the bone that is the torso's, or by the name.
  float TorsoWeight(std::size_t b, std::int32_t parent) const {
    if (!from_.finish.torso) {
      return GetTorsoWeight(numbers_.Bones()[b]->GetName());
    }
    if (static_cast<std::int32_t>(b) == *from_.finish.torso) {
      return 1.0F;
    }
    return parent < 0 ? 0.0F : float{rig_.bones[parent].torsoWeight};
  }

  std::string FaultOfFrame(std::int32_t frame) const {
    const int sceneFrame = static_cast<int>(from_.range->start) + frame;
    const skelFrame& head = *rig_.frames[static_cast<std::size_t>(frame)];
    framebounds bounds;
    for (cnode* surface : SurfacesOf(from_.scene)) {
      bounds.Add(PoseOf(*surface, sceneFrame));
    }
    if (std::string fault = bounds.FaultOf(head, from_.origin); !fault.empty()) {
      return fault;
    }
    bool first = true;
    for (std::size_t b = 0; b < numbers_.Bones().size(); ++b) {
      cnode& bone = *numbers_.Bones()[b];
      cnode* const parent = ParentOf(bone);
      if (parent == nullptr && first) {
        first = false;
        if (!IsNear(head.parentOffset, bone.GetPosAtFrame(sceneFrame) - from_.origin, kLength)) {
          return "the position of its first top bone is not that of the scene";
        }
      }
      if (!IsPose(skelrig::BoneFrames(&head)[b], bone, parent, sceneFrame)) {
        return NumberedName("bone", b, bone.GetName()) + " is not rotated as in the scene";
      }
    }
    return {};
  }

  static bool IsPose(const skelBoneFrame& found, cnode& bone, cnode* parent, int sceneFrame) {
    const cmatrix4 world = bone.GetTMAtFrame(sceneFrame, kWholeTransform);
    angledecoder decoder;
    const core::affine rotation = core::ToAffine(decoder.FromWorld(found));
    const core::affine wanted = core::RotationOf(core::ToAffine(Inverse(world)));
    for (std::size_t i = 0; i < 3; ++i) {
      if (!AreNear(rotation.row[i], wanted.row[i])) {
        return false;
      }
    }
    if (parent == nullptr) {
      return true;
    }
    const cpoint3 way =
        world.GetTrans() - parent->GetTMAtFrame(sceneFrame, kWholeTransform).GetTrans();
    const core::vec3 direction = core::Unit(core::ToVec(way));
    return core::IsZero(direction) ||
           AreNear(core::ToVec(decoder.FromParent(1.0F, found)), direction);
  }

  const skelrig& rig_;
  const writtenfrom& from_;
  const bonenumbers& numbers_;
};

}  // namespace

std::string FaultOfRig(const skelrig& rig, std::int32_t torsoParent, const bonenumbers& numbers,
                       const writtenfrom& from) {
  return rigcheck(rig, numbers, from).Fault(torsoParent);
}

}  // namespace command
