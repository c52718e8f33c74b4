#include "command/content/skeletalcontent.h"

#include "command/content/surfaces.h"
#include "command/skeleton/hanging.h"
#include "plugin/host/scene.h"
#include "sampling/storednames.h"
#include "skeletal/torso.h"

namespace command {

namespace {

bool IsTag(const cmdmfile& file, const mdmTag& found, cnode& node, const bonenumbers& numbers) {
  cnode* const parent = node.GetParent();
  const cmatrix4 axis = LocalAt(node, parent, 0, kRotationOnly);
  for (std::size_t row = 0; row < 3; ++row) {
    if (!IsNear(found.axis[row], axis.GetRow3(static_cast<int>(row)), kAxis)) {
      return false;
    }
  }
  std::vector<std::int32_t> chain;
  for (std::int32_t at = numbers.Of(parent); at >= 0; at = numbers.OfParent(at)) {
    chain.push_back(at);
  }
  std::ranges::reverse(chain);
  return HasName(found.name, node.GetName()) && found.boneIndex == numbers.Of(parent) &&
         IsNear(found.offset, LocalAt(node, parent, 0, kWholeTransform).GetTrans(), kLength) &&
         HasReferences(file, found, chain);
}

std::string TagAt(std::size_t number, cnode& node) {
  return NumberedName("tag", number, node.GetName()) + " is not as in the scene";
}

// The tags of an mds name bones of its list.
std::string FaultOfTags(const cmdsfile& file, const bonenumbers& numbers, bool torso) {
  std::size_t t = 0;
  for (std::size_t b = 0; b < numbers.Bones().size(); ++b) {
    cnode& bone = *numbers.Bones()[b];
    if (!IsTagName(bone.GetName())) {
      continue;
    }
    if (file.numTags == 0) {
      return "its tags do not lie inside the file";
    }
    const mdsTag& found = file.tags[t];
    const float weight =
        torso ? float{file.bones[b].torsoWeight} : GetTagTorsoWeight(bone.GetName());
    if (!HasName(found.name, bone.GetName()) || found.boneIndex != static_cast<std::int32_t>(b) ||
        found.torsoWeight != weight) {
      return TagAt(t, bone);
    }
    ++t;
  }
  return {};
}

}  // namespace

bonenumbers::bonenumbers(core::scene& scene, filekind kind) {
  for (cnode* node : InHierarchyOrder(scene)) {
    if (IsListedBone(*node, kind)) {
      if ((node->GetFlags() & kNodeFlagNoBone) == 0) {
        numbers_.emplace(node, static_cast<std::int32_t>(bones_.size()));
      }
      bones_.push_back(node);
    }
  }
}

std::int32_t bonenumbers::Of(const cnode* node) const {
  const auto found = numbers_.find(node);
  return found == numbers_.end() ? -1 : found->second;
}

bool bonenumbers::IsNumber(std::int32_t number, const cnode* node) const {
  const bool listed = number >= 0 && number < std::ssize(bones_);
  return (listed && bones_[static_cast<std::size_t>(number)] == node &&
          (node->State().flags & kNodeFlagNoBone) == 0) ||
         number == Of(node);
}

// From the parent's space, or the scene's where there is none.
cmatrix4 LocalAt(cnode& node, cnode* parent, int frame, int mask) {
  const cmatrix4 world = node.GetTMAtFrame(frame, mask);
  return parent == nullptr ? world : world * Inverse(parent->GetTMAtFrame(frame, mask));
}

std::string ContentFault(const cmdsfile& file, const writtenfrom& from) {
  const bonenumbers numbers(from.scene, filekind::Mds);
  std::string fault = FaultOfMesh(file, file, numbers, from);
  if (fault.empty()) {
    fault = FaultOfRig(file, file.header->torsoParent, numbers, from);
  }
  return fault.empty() ? FaultOfTags(file, numbers, from.finish.torso.has_value()) : fault;
}

std::string ContentFault(const cmdmfile& file, const writtenfrom& from) {
  const bonenumbers numbers(from.scene, filekind::Mdx);
  std::size_t t = 0;
  for (cnode* node : InHierarchyOrder(from.scene)) {
    if (node->GetType() != kNodeBone || IsListedBone(*node, filekind::Mdx) ||
        t == file.tags.size()) {
      continue;
    }
    if (!IsTag(file, *file.tags[t], *node, numbers)) {
      return TagAt(t, *node);
    }
    ++t;
  }
  return FaultOfMesh(file, file, numbers, from);
}

std::string ContentFault(const cmdxfile& file, const writtenfrom& from) {
  const bonenumbers numbers(from.scene, filekind::Mdx);
  return FaultOfRig(file, file.header->torsoParent, numbers, from);
}

}  // namespace command
