#pragma once

#include <optional>
#include <span>
#include <string_view>

// How much the bones of the games' standard skeleton follow the torso, by their names.

struct torsorow {
  std::string_view name;
  float torsoWeight;
};

// Of the row with the name, in any case of letters.
std::optional<float> TorsoWeightIn(std::span<const torsorow> rows, std::string_view name);

// 0 to 1. A name with "Bip" in it, to the letter, and more than six characters is looked up without
// its first six, any other one whole, both regardless of case; nothing for a name that the standard
// skeleton does not have.
std::optional<float> StandardTorsoWeight(std::string_view name);
