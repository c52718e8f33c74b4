#pragma once

#include <string>
#include <unordered_map>

#include "core/scene.h"

namespace command {

enum class renaming { ToGame, ToScene };

// Names of bones as a scene has them and as the games do, from a text file with a line
// `Name in scene = Name in game` each. Blank lines and lines that begin with # say nothing.
class bonemap {
 public:
  bonemap() = default;
  // Fails at the first line that is no pair, or that has a name which a line before it has.
  explicit bonemap(const std::string& path);

  // Renames the scene's bones, tags among them, all at once. Names that the scene has not are left
  // alone. Fails, as from the file `path`, where two bones would get one name.
  void Rename(const std::string& path, core::scene& scene, renaming direction) const;

 private:
  std::unordered_map<std::string, std::string> toGame_;
  std::unordered_map<std::string, std::string> toScene_;
};

}  // namespace command
