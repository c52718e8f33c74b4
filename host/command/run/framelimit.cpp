#include "command/run/framelimit.h"

#include <algorithm>
#include <limits>

#include "command/files/modelcheck.h"
#include "command/surfaces.h"
#include "command/wording.h"
#include "core/state.h"
#include "mdc/records.h"
#include "skeletal/records.h"

namespace command {

namespace {

// An mdc counts frames in 16 bits.
constexpr std::int64_t kMostMdcFrames = 65535;
// Bytes that an animation may take beyond what the bones' keys account for: 80,000 frames of 128
// bones, more than any character of the games has.
constexpr std::uint64_t kFreeAnimation = std::uint64_t{128} << 20;
// Bones of a skeleton to one that moves.
constexpr std::uint64_t kBonesAMoving = 4;

std::uint64_t HonestAnimation(const core::scene& scene) {
  std::uint64_t keys = 0;
  for (const cnode* node : scene.Nodes()) {
    keys += node->State().track->State().keys.size();
  }
  return kFreeAnimation + kBonesAMoving * keys * sizeof(skelBoneFrame);
}

std::int64_t NumVertices(const core::scene& scene) {
  std::int64_t count = 0;
  for (cnode* node : SurfacesOf(scene)) {
    count += std::ssize(MeshOf(*node).verts);
  }
  return count;
}

}  // namespace

void LimitFrames(filekind kind, const core::scene& scene, const memorylimit& memory,
                 exportchoices& choices) {
  const format& kept = FormatOf(kind);
  std::uint64_t honest = std::numeric_limits<std::uint64_t>::max();
  std::int64_t frameSize = 0;
  if (kept.vertexFrames) {
    const std::int64_t vertices = NumVertices(scene);
    frameSize = static_cast<std::int64_t>(sizeof(mdcFrame)) +
                vertices * static_cast<std::int64_t>(sizeof(mdcXyzNormal));
    choices.framesOf = " of " + std::to_string(vertices) + " vertices";
  } else if (kept.HasBones() || !choices.mdx.empty()) {
    const filekind animated = kept.HasBones() ? kind : kept.skeleton;
    const std::int64_t bones = ExpectedOf(scene, animated, std::nullopt).bones.value_or(0);
    frameSize = static_cast<std::int64_t>(sizeof(skelFrame)) +
                bones * static_cast<std::int64_t>(sizeof(skelBoneFrame));
    choices.framesOf = " of " + Counted(bones, "bone");
    honest = HonestAnimation(scene);
  } else {
    return;
  }
  choices.limitedBy = "the format holds";
  choices.mostFrames = std::numeric_limits<std::int32_t>::max() / frameSize;
  if (kept.vertexFrames && choices.mostFrames > kMostMdcFrames) {
    choices.mostFrames = kMostMdcFrames;
    choices.framesOf.clear();
  }
  const memorylimit::share most = memory.Share(honest);
  const std::uint64_t fit = most.bytes / static_cast<std::uint64_t>(frameSize);
  if (fit < static_cast<std::uint64_t>(choices.mostFrames)) {
    choices.mostFrames = static_cast<std::int64_t>(fit);
    choices.limitedBy = most.words + " holds";
  }
}

}  // namespace command
