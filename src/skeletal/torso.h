#pragma once

#include <string>
#include <string_view>
#include <vector>

// What the games' animation code is told about the torso. Nothing of it is asked of the user: it
// follows from the names of the games' standard skeleton.

// The number of the torso's parent bone, for the bones' names in the order of the file: the first
// whose lower-cased name ends in "spine" at the first "spine" in it; failing that the first one
// named like Bip01 (five characters, "bip" and two more); failing that 0. A name that has "spine"
// elsewhere, as Bip01 Spine1, is neither.
int FindTorsoParent(const std::vector<std::string>& names);

// How much a bone follows the torso, 0 to 1; 0 for a name that the standard skeleton does not have.
float GetTorsoWeight(std::string_view name);

// The same for the tag of an mds file, which for some tags is not that of the bone of this name.
float GetTagTorsoWeight(std::string_view name);
