#include "command/finish/torso.h"

#include <cstddef>
#include <vector>

#include "command/finish/openmodel.h"

namespace command {

namespace {

// Parents stand before their children.
void SetWeights(const skelrig& rig, std::int32_t torso) {
  std::vector<bool> follows(static_cast<std::size_t>(rig.numBones));
  for (std::size_t b = 0; b < follows.size(); ++b) {
    const std::int32_t parent = rig.Parent(b);
    follows[b] = static_cast<std::int32_t>(b) == torso ||
                 (parent >= 0 && follows[static_cast<std::size_t>(parent)]);
    Changed(rig.bones[b]).torsoWeight = follows[b] ? 1.0F : 0.0F;
  }
}

}  // namespace

void SetTorso(const cmdsfile& file, std::int32_t bone) {
  Changed(*file.header).torsoParent = bone;
  SetWeights(file, bone);
  for (std::int32_t t = 0; t < file.numTags; ++t) {
    const std::int32_t of = file.tags[t].boneIndex;
    if (of >= 0 && of < file.numBones) {
      Changed(file.tags[t]).torsoWeight = float{file.bones[of].torsoWeight};
    }
  }
}

void SetTorso(const cmdxfile& file, std::int32_t bone) {
  Changed(*file.header).torsoParent = bone;
  SetWeights(file, bone);
}

}  // namespace command
