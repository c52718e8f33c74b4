#pragma once

#include <string>
#include <vector>

#include "command/files/paths.h"
#include "core/scene.h"

namespace command {

// Bytes that a model file keeps of a name.
inline constexpr std::size_t kKeptOfName = 63;
// The start of a name within the length, of whole characters of UTF-8.
std::string StartOf(const std::string& name, std::size_t length);

// Shortens names of bones, tags and surfaces to what a file keeps of them, by whole characters.
// Those that another one has then get a number in place of their last letters: the result.
std::vector<std::string> TellCutNamesApart(core::scene& scene, filekind kind);

// Tags with a number behind their name, as tag_head.001: what a 3D tool makes of a second tag_head.
std::vector<std::string> NumberedTags(const core::scene& scene, filekind kind);

// Whether a bone that is no tag has a name of the games' standard skeleton, in any case of letters:
// by these names handlers know what follows the torso.
bool HasStandardBone(const core::scene& scene);
// Those names in short.
inline constexpr char kStandardBones[] =
    "Bip01 Pelvis, Spine, Spine1 to Spine3, Neck and Head, and with L and R Clavicle, UpperArm, "
    "Forearm, Hand, Finger0 to Finger42, Thigh, Calf, Foot and Toe0";

}  // namespace command
