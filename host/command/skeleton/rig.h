#pragma once

// What the user's options and the formats make of a scene's skeleton before a handler writes it.

#include <cstdint>
#include <string>

#include "command/console.h"
#include "command/files/paths.h"
#include "command/skeleton/bonechoice.h"
#include "command/skeleton/rootbone.h"
#include "core/scene.h"

namespace command {

struct rigoptions {
  bonechoice bones;
  std::string boneMap;  // path of the file with the names; empty: none
  std::string torso;    // the bone that the torso begins with, by its name in the scene or the file
};

struct preparedrig {
  rootbone root;
  const cnode* torso = nullptr;
};

// Changes the scene for a skeletal model: bones that are left out, names of the games, a root bone
// where there is none. `animated` says whether bones are written, not only the mesh of an mdm.
// Fails where an option names what is not there.
preparedrig PrepareRig(console& out, const std::string& path, bool animated,
                       const rigoptions& options, core::scene& scene);

// Of the kind's list of bones: the bone's number.
std::int32_t BoneNumber(core::scene& scene, filekind kind, const cnode& bone);

void TellRootBone(console& out, const std::string& path, const rootbone& made);

// Makes names that the file would cut distinct, and tells of them and of doubtful names of tags.
void TellNames(console& out, const std::string& path, filekind kind, core::scene& scene);

}  // namespace command
