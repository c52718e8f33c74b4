#include "skeletal/torso.h"

#include <iterator>
#include <string>

#include "sampling/storednames.h"
#include "skeletal/standardbones.h"

namespace {

constexpr torsorow kTagTemplate[] = {
    {"tag_head", 1.0F},    {"tag_mouth", 1.0F},     {"tag_weapon2", 1.0F},  {"tag_armleft", 1.0F},
    {"tag_weapon", 1.0F},  {"tag_armright", 1.0F},  {"tag_back", 0.85F},    {"tag_chest", 0.55F},
    {"tag_ubelt", 0.3F},   {"tag_bright", 0.3F},    {"tag_bleft", 0.3F},    {"tag_footleft", 0.0F},
    {"tag_legleft", 0.0F}, {"tag_footright", 0.0F}, {"tag_legright", 0.0F}, {"tag_lbelt", 0.0F},
    {"tag_torso", 0.0F},
};
static_assert(std::size(kTagTemplate) == 17);

}  // namespace

int FindTorsoParent(const std::vector<std::string>& names) {
  constexpr std::string_view kSpine = "spine";
  constexpr std::string_view kTop = "bip";
  constexpr std::size_t kTopLength = 5;
  int candidate = -1;
  int count = 0;
  for (const std::string& given : names) {
    const std::string name = LowerCase(given);
    const std::size_t spine = name.find(kSpine);
    if (spine != std::string::npos) {
      if (spine + kSpine.size() == name.size()) {
        return count;
      }
    } else if (candidate < 0 && name.size() == kTopLength && name.starts_with(kTop)) {
      candidate = count;
    }
    ++count;
  }
  return candidate < 0 ? 0 : candidate;
}

float GetTorsoWeight(std::string_view name) { return StandardTorsoWeight(name).value_or(0.0F); }

float GetTagTorsoWeight(std::string_view name) {
  return TorsoWeightIn(kTagTemplate, name).value_or(0.0F);
}
