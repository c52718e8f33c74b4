#include "command/skeletonlosses.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <unordered_set>

#include "core/state.h"
#include "plugin/host/scene.h"

namespace command {

namespace {

// Scene units, in which a person is some 40 high. Less is not worth a word.
constexpr float kWorthTelling = 0.05F;
constexpr std::size_t kMostNames = 4;

// A node whose place the file cannot have, and how far off it is at worst.
struct loss {
  std::string name;
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

// The largest value of off(frame) over the range.
template <class Off>
void AddWorst(std::vector<loss>& losses, cnode& node, const framerange& range, Off&& off) {
  float worst = 0.0F;
  for (std::int64_t i = 0; i < range.frames; ++i) {
    worst = std::max(worst, off(static_cast<int>(range.start + i)));
  }
  if (worst > kWorthTelling) {
    losses.push_back({node.GetName(), worst});
  }
}

void Tell(std::vector<std::string>& lines, const std::string& text, std::vector<loss>& losses) {
  if (losses.empty()) {
    return;
  }
  std::ranges::stable_sort(losses, std::ranges::greater(), &loss::distance);
  std::vector<std::string> names;
  for (const loss& one : losses) {
    if (names.size() == kMostNames) {
      names.push_back("and " + std::to_string(losses.size() - kMostNames) + " more");
      break;
    }
    char number[32];
    std::snprintf(number, sizeof number, "%.3g", static_cast<double>(one.distance));
    names.push_back(one.name + " by up to " + number);
  }
  lines.push_back(text + ": " + Joined(names));
}

bool IsTag(cnode& node) { return Folded(node.GetName()).starts_with("tag_"); }

}  // namespace

std::vector<std::string> SkeletonLosses(const core::scene& scene, filekind kind,
                                        const framerange& range) {
  std::vector<cnode*> bones;
  std::vector<cnode*> tags;
  for (cnode* node : scene.Nodes()) {
    if (node->GetType() == kNodeBone) {
      (kind != filekind::Mds && IsTag(*node) ? tags : bones).push_back(node);
    }
  }
  const std::unordered_set<const cnode*> listed(bones.begin(), bones.end());
  std::vector<std::string> lines;
  if (kind == filekind::Mdm) {
    std::vector<loss> shifted;
    for (cnode* tag : tags) {
      if (cnode* const parent = tag->GetParent(); listed.contains(parent)) {
        const cpoint3 place = PlaceOn(*parent, *tag, 0);
        AddWorst(shifted, *tag, range,
                 [&](int frame) { return (PlaceOn(*parent, *tag, frame) - place).Length(); });
      }
    }
    Tell(lines, "tags keep the place on their parent that they have in frame 0", shifted);
    return lines;
  }
  std::vector<loss> stretched;
  std::vector<loss> strayed;
  cnode* top = nullptr;
  for (cnode* bone : bones) {
    if (cnode* const parent = bone->GetParent(); listed.contains(parent)) {
      const float length = PlaceOn(*parent, *bone, 0).Length();
      AddWorst(stretched, *bone, range,
               [&](int frame) { return std::abs(Between(*bone, *parent, frame) - length); });
    } else if (top == nullptr) {
      top = bone;
    } else {
      AddWorst(strayed, *bone, range, [&](int frame) { return Between(*bone, *top, frame); });
    }
  }
  Tell(lines, "bones keep the distance from their parent that they have in frame 0", stretched);
  Tell(lines, "bones without a parent all stand where the first of them does", strayed);
  return lines;
}

}  // namespace command
