#include "command/skeleton/skeletonlosses.h"
#include "command/skeleton/hanging.h"
#include "command/wording.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <unordered_set>
#include <utility>

#include "core/state.h"
#include "plugin/host/scene.h"

namespace command {

namespace {

// Scene units, in which a person is some 40 high. Less is not worth a word.
constexpr float kWorthTelling = 0.05F;

// A node whose place the file may not have, and how far off it is at worst.
struct loss {
  cnode* node;
  std::function<float(int frame)> off;
  float distance = 0.0F;
};

float Between(cnode& a, cnode& b, int frame) {
  return (a.GetPosAtFrame(frame) - b.GetPosAtFrame(frame)).Length();
}

cpoint3 PlaceOn(cnode& parent, cnode& node, int frame) {
  return (node.GetTMAtFrame(frame, kWholeTransform) *
          Inverse(parent.GetTMAtFrame(frame, kWholeTransform)))
      .GetTrans();
}

// Frame by frame, since a scene does not remember the poses of all frames.
void Measure(std::vector<loss>& losses, const framerange& range) {
  for (std::int64_t i = 0; i < range.frames; ++i) {
    for (loss& one : losses) {
      one.distance = std::max(one.distance, one.off(static_cast<int>(range.start + i)));
    }
  }
}

void Tell(std::vector<std::string>& lines, const std::string& text, std::vector<loss> losses) {
  std::erase_if(losses, [](const loss& one) { return one.distance <= kWorthTelling; });
  if (losses.empty()) {
    return;
  }
  std::vector<boneloss> told;
  told.reserve(losses.size());
  for (const loss& one : losses) {
    told.push_back({one.node->GetName(), double{one.distance}});
  }
  lines.push_back(text + ": " + FarthestFew(std::move(told)));
}

}  // namespace

std::string FarthestFew(std::vector<boneloss> losses) {
  std::ranges::stable_sort(losses, std::ranges::greater(), &boneloss::distance);
  std::vector<std::string> names;
  names.reserve(losses.size());
  for (const boneloss& one : losses) {
    char number[32];
    std::snprintf(number, sizeof number, "%.3g", one.distance);
    names.push_back(one.bone + " by up to " + number);
  }
  return JoinedFew(std::move(names));
}

std::vector<std::string> SkeletonLosses(const core::scene& scene, filekind kind,
                                        const framerange& range) {
  const bool tagBones = FormatOf(kind).tags == tagsource::Bones;
  std::vector<cnode*> bones;
  std::vector<cnode*> tags;
  for (cnode* node : scene.Nodes()) {
    if (node->GetType() == kNodeBone) {
      (!tagBones && IsTagName(node->GetName()) ? tags : bones).push_back(node);
    }
  }
  const std::unordered_set<const cnode*> listed(bones.begin(), bones.end());
  std::vector<std::string> lines;
  if (FormatOf(kind).IsPair()) {
    std::vector<loss> shifted;
    for (cnode* tag : tags) {
      if (cnode* const parent = tag->GetParent(); listed.contains(parent)) {
        shifted.push_back({tag, [=, place = PlaceOn(*parent, *tag, 0)](int frame) {
                             return (PlaceOn(*parent, *tag, frame) - place).Length();
                           }});
      }
    }
    Measure(shifted, range);
    Tell(lines, "tags keep their position on the parent from frame 0", std::move(shifted));
    return lines;
  }
  std::vector<loss> stretched;
  std::vector<loss> strayed;
  cnode* top = nullptr;
  for (cnode* bone : bones) {
    if (listed.contains(bone->GetParent())) {
      stretched.push_back({bone, [=, length = DistanceFromParent(*bone, 0)](int frame) {
                             return std::abs(DistanceFromParent(*bone, frame) - length);
                           }});
    } else if (top == nullptr) {
      top = bone;
    } else {
      strayed.push_back({bone, [=](int frame) { return Between(*bone, *top, frame); }});
    }
  }
  Measure(stretched, range);
  Measure(strayed, range);
  Tell(lines, "bones keep the distance from their parent that they have in frame 0",
       std::move(stretched));
  Tell(lines, "bones without a parent all stand where the first of them does", std::move(strayed));
  return lines;
}

}  // namespace command
