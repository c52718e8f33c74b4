#include <cmath>
#include <type_traits>
#include <unordered_map>

#include "command/content/contentcheck.h"
#include "command/content/surfaces.h"
#include "command/skeleton/hanging.h"
#include "command/surfaces.h"
#include "core/affine.h"
#include "plugin/host/scene.h"
#include "skeletal/angles.h"

namespace command {

namespace {

// Of an axis of length 1: ten units of an angle.
constexpr double kAxis = 1e-3;
// Of lengths and offsets, which stand in the file in single precision.
constexpr double kLength = 1e-3;

// The bones of the scene as a format numbers them.
class bonenumbers {
 public:
  bonenumbers(core::scene& scene, filekind kind) {
    for (cnode* node : InHierarchyOrder(scene)) {
      if (IsListedBone(*node, kind)) {
        if ((node->GetFlags() & kNodeFlagNoBone) == 0) {
          numbers_.emplace(node, static_cast<std::int32_t>(bones_.size()));
        }
        bones_.push_back(node);
      }
    }
  }

  const std::vector<cnode*>& Bones() const { return bones_; }
  // -1: none of them.
  std::int32_t Of(const cnode* node) const {
    const auto found = numbers_.find(node);
    return found == numbers_.end() ? -1 : found->second;
  }

 private:
  std::vector<cnode*> bones_;
  std::unordered_map<const cnode*, std::int32_t> numbers_;
};

bool HasName(const namefield<64>& found, const char* text) {
  namefield<64> wanted;
  SetName(wanted, text);
  return found == wanted;
}

// From the parent's space, or the scene's where there is none.
cmatrix4 LocalAt(cnode& node, cnode* parent, int frame, int mask) {
  const cmatrix4 world = node.GetTMAtFrame(frame, mask);
  return parent == nullptr ? world : world * Inverse(parent->GetTMAtFrame(frame, mask));
}

bool AreNear(const core::vec3& found, const core::vec3& wanted) {
  return IsNear(found.x, wanted.x, kAxis) && IsNear(found.y, wanted.y, kAxis) &&
         IsNear(found.z, wanted.z, kAxis);
}

cmatrix4 PitchAndYaw(std::int16_t pitch, std::int16_t yaw) {
  cmatrix4 aboutY;
  cmatrix4 aboutZ;
  aboutY.FromAngleY(-DecodeAngle(pitch));
  aboutZ.FromAngleZ(-DecodeAngle(yaw));
  return aboutY * aboutZ;
}

class rigcheck {
 public:
  rigcheck(const skelrig& rig, filekind kind, const writtenfrom& from)
      : rig_(rig), from_(from), numbers_(from.scene, kind) {}

  std::string Fault() const {
    const std::vector<cnode*>& bones = numbers_.Bones();
    for (std::size_t b = 0; b < bones.size(); ++b) {
      if (const std::string fault = FaultOfBone(rig_.bones[b], *bones[b]); !fault.empty()) {
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

  std::string FaultOfBone(const skelBoneInfo& found, cnode& bone) const {
    if (!HasName(found.name, bone.GetName())) {
      return "its name is " + std::string(NameText(found.name).data());
    }
    cnode* const parent = ParentOf(bone);
    const std::int32_t number = numbers_.Of(parent);
    if (found.parent != number) {
      return "its parent is " + std::to_string(found.parent) + " instead of " +
             std::to_string(number);
    }
    const double length =
        parent == nullptr ? 0.0 : LocalAt(bone, parent, 0, kWholeTransform).GetTrans().Length();
    return IsNear(float{found.parentDist}, length, kLength)
               ? ""
               : "its distance from its parent is not that of the scene";
  }

  std::string FaultOfFrame(std::int32_t frame) const {
    const int sceneFrame = static_cast<int>(from_.range->start) + frame;
    const skelFrame& head = *rig_.frames[static_cast<std::size_t>(frame)];
    framebounds bounds;
    for (cnode* surface : SurfacesOf(from_.scene)) {
      bounds.Add(PoseOf(*surface, sceneFrame));
    }
    if (std::string fault = bounds.FaultOf(head.bounds, head.localOrigin, from_.origin);
        !fault.empty()) {
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
    cmatrix4 turn;
    turn.FromAngleX(-DecodeAngle(found.angles[2]));
    const core::affine rotation =
        core::ToAffine(turn * PitchAndYaw(found.angles[0], found.angles[1]));
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
           AreNear(core::ToAffine(PitchAndYaw(found.ofsAngles[0], found.ofsAngles[1])).row[0],
                   direction);
  }

  const skelrig& rig_;
  const writtenfrom& from_;
  bonenumbers numbers_;
};

std::string FaultOfWeights(const skelWeight* found, std::int32_t numFound, cskin& skin,
                           std::uint32_t vertex, const bonenumbers& numbers) {
  const auto source = static_cast<int>(vertex);
  const int count = skin.GetVertNumWeights(source);
  if (numFound != count) {
    return "has " + std::to_string(numFound) + " weights instead of " + std::to_string(count);
  }
  for (int k = 0; k < count; ++k) {
    cskinweight weight;
    skin.GetVertWeight(source, k, weight);
    if (found[k].boneIndex != numbers.Of(weight.bone) ||
        !IsSame(found[k].boneWeight, weight.weight)) {
      return "has other weights than in the scene";
    }
    if (!IsSame(found[k].offset[0], weight.offset.x) ||
        !IsSame(found[k].offset[1], weight.offset.y) ||
        !IsSame(found[k].offset[2], weight.offset.z)) {
      return "has another offset from its bone than in the scene";
    }
  }
  return {};
}

std::string FaultOfSkin(const skelmesh& mesh, const skelsurfentry& entry, cskin& skin,
                        const bonenumbers& numbers) {
  if (!HasName(entry.surface->name, skin.GetName())) {
    return "its name is " + std::string(NameText(entry.surface->name).data());
  }
  facelist faces{entry.triangles, entry.numTriangles, {}};
  faces.texCoords.reserve(static_cast<std::size_t>(entry.numVerts));
  cvertexwalk walk = mesh.Vertices(entry);
  for (std::int32_t v = 0; v < entry.numVerts; ++v, walk.Next()) {
    faces.texCoords.push_back(
        {float{walk.Vertex().texCoords[0]}, float{walk.Vertex().texCoords[1]}});
  }
  std::vector<std::uint32_t> sources;
  std::string fault = FaultOfFaces(faces, MeshOf(skin), sources);
  walk = mesh.Vertices(entry);
  for (std::size_t v = 0; fault.empty() && v < sources.size(); ++v, walk.Next()) {
    fault = FaultOfWeights(walk.Weights(), walk.NumWeights(), skin, sources[v], numbers);
    if (!fault.empty()) {
      fault.insert(0, "vertex " + std::to_string(v) + " ");
    }
  }
  return fault;
}

std::string FaultOfMesh(const skelmesh& mesh, core::scene& scene, const bonenumbers& numbers) {
  const std::vector<cskin*> skins = SkinsOf(scene);
  for (std::size_t s = 0; s < skins.size(); ++s) {
    const std::string fault = FaultOfSkin(mesh, mesh.surfaces[s], *skins[s], numbers);
    if (!fault.empty()) {
      return NumberedName("surface", s, skins[s]->GetName()) + ": " + fault;
    }
  }
  return {};
}

bool IsTag(const mdmTag& found, cnode& node, const bonenumbers& numbers) {
  cnode* const parent = node.GetParent();
  const cmatrix4 axis = LocalAt(node, parent, 0, kRotationOnly);
  for (std::size_t row = 0; row < 3; ++row) {
    if (!IsNear(found.axis[row], axis.GetRow3(static_cast<int>(row)), kAxis)) {
      return false;
    }
  }
  return HasName(found.name, node.GetName()) && found.boneIndex == numbers.Of(parent) &&
         IsNear(found.offset, LocalAt(node, parent, 0, kWholeTransform).GetTrans(), kLength);
}

}  // namespace

std::string ContentFault(const cmdsfile& file, const writtenfrom& from) {
  const bonenumbers numbers(from.scene, filekind::Mds);
  const std::string fault = FaultOfMesh(file, from.scene, numbers);
  return fault.empty() ? rigcheck(file, filekind::Mds, from).Fault() : fault;
}

std::string ContentFault(const cmdmfile& file, const writtenfrom& from) {
  const bonenumbers numbers(from.scene, filekind::Mdx);
  std::size_t number = 0;
  for (cnode* node : InHierarchyOrder(from.scene)) {
    if (node->GetType() != kNodeBone || IsListedBone(*node, filekind::Mdx) ||
        number == file.tags.size()) {
      continue;
    }
    if (!IsTag(*file.tags[number], *node, numbers)) {
      return NumberedName("tag", number, node->GetName()) + " is not as in the scene";
    }
    ++number;
  }
  return FaultOfMesh(file, from.scene, numbers);
}

std::string ContentFault(const cmdxfile& file, const writtenfrom& from) {
  return rigcheck(file, filekind::Mdx, from).Fault();
}

}  // namespace command
