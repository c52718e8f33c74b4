#include "skeletal/standardbones.h"

#include <iterator>

#include "sampling/storednames.h"

namespace {

// The standard skeleton without the six characters "Bip01 " of its names.
constexpr torsorow kBoneTemplate[] = {
    {"Pelvis", 0.0F},       {"Spine", 0.0F},        {"Spine1", 0.3F},        {"Spine2", 0.55F},
    {"Spine3", 0.85F},      {"Neck", 1.0F},         {"Head", 1.0F},          {"tag_mouth", 1.0F},
    {"L Clavicle", 1.0F},   {"L UpperArm", 1.0F},   {"L Forearm", 1.0F},     {"L Hand", 1.0F},
    {"L Finger0", 1.0F},    {"L Finger01", 1.0F},   {"L Finger02", 1.0F},    {"L Finger1", 1.0F},
    {"L Finger11", 1.0F},   {"L Finger12", 1.0F},   {"L Finger2", 1.0F},     {"L Finger21", 1.0F},
    {"L Finger22", 1.0F},   {"L Finger3", 1.0F},    {"L Finger31", 1.0F},    {"L Finger32", 1.0F},
    {"L Finger4", 1.0F},    {"L Finger41", 1.0F},   {"L Finger42", 1.0F},    {"tag_weapon2", 1.0F},
    {"tag_armleft", 1.0F},  {"R Clavicle", 1.0F},   {"R UpperArm", 1.0F},    {"R Forearm", 1.0F},
    {"R Hand", 1.0F},       {"R Finger0", 1.0F},    {"R Finger01", 1.0F},    {"R Finger02", 1.0F},
    {"R Finger1", 1.0F},    {"R Finger11", 1.0F},   {"R Finger12", 1.0F},    {"R Finger2", 1.0F},
    {"R Finger21", 1.0F},   {"R Finger22", 1.0F},   {"R Finger3", 1.0F},     {"R Finger31", 1.0F},
    {"R Finger32", 1.0F},   {"R Finger4", 1.0F},    {"R Finger41", 1.0F},    {"R Finger42", 1.0F},
    {"tag_weapon", 1.0F},   {"tag_armright", 1.0F}, {"tag_head", 1.0F},      {"tag_back", 1.0F},
    {"tag_chest", 1.0F},    {"tag_bleft", 1.0F},    {"tag_bright", 1.0F},    {"tag_lbelt", 1.0F},
    {"L Thigh", 0.0F},      {"L Calf", 0.0F},       {"L Foot", 0.0F},        {"L Toe0", 0.0F},
    {"tag_footleft", 0.0F}, {"tag_legleft", 0.0F},  {"R Thigh", 0.0F},       {"R Calf", 0.0F},
    {"R Foot", 0.0F},       {"R Toe0", 0.0F},       {"tag_footright", 0.0F}, {"tag_legright", 0.0F},
    {"tag_ubelt", 0.0F},    {"tag_torso", 0.0F},
};
static_assert(std::size(kBoneTemplate) == 70);

}  // namespace

std::optional<float> TorsoWeightIn(std::span<const torsorow> rows, std::string_view name) {
  for (const torsorow& row : rows) {
    if (EqualsIgnoringCase(row.name, name)) {
      return row.torsoWeight;
    }
  }
  return std::nullopt;
}

std::optional<float> StandardTorsoWeight(std::string_view name) {
  constexpr std::size_t kPrefixLength = 6;
  if (name.size() > kPrefixLength && name.find("Bip") != std::string_view::npos) {
    name.remove_prefix(kPrefixLength);
  }
  return TorsoWeightIn(kBoneTemplate, name);
}
