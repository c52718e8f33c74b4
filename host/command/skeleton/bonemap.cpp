#include "command/skeleton/bonemap.h"

#include <sstream>
#include <utility>
#include <vector>

#include "command/failure.h"
#include "command/files/paths.h"
#include "core/state.h"
#include "sidefiles/textfile.h"

namespace command {

namespace {

std::string Trimmed(const std::string& text) {
  constexpr char kBlanks[] = " \t\r";
  const std::size_t first = text.find_first_not_of(kBlanks);
  return first == std::string::npos
             ? std::string()
             : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace

bonemap::bonemap(const std::string& path) {
  RequireReadable(path);
  std::string whole;
  if (!LoadText(path.c_str(), whole)) {
    throw failure(path, "cannot be read to its end");
  }
  std::istringstream lines(whole);
  std::string line;
  for (int number = 1; std::getline(lines, line); ++number) {
    const auto refuse = [&](const std::string& why) {
      return failure(path, "line " + std::to_string(number) + ": " + why);
    };
    const std::string text = Trimmed(line);
    if (text.empty() || text.front() == '#') {
      continue;
    }
    // A name may have an equals sign of its own where those of the line stand between blanks.
    const std::size_t apart = text.find(" = ");
    const std::size_t equals = apart == std::string::npos ? text.find('=') : apart + 1;
    if (equals == std::string::npos) {
      throw refuse("has no =; a line is: Name in scene = Name in game");
    }
    const std::string scene = Trimmed(text.substr(0, equals));
    const std::string game = Trimmed(text.substr(equals + 1));
    if (scene.empty() || game.empty()) {
      throw refuse("has no name " + std::string(scene.empty() ? "before" : "behind") + " the =");
    }
    if (!toGame_.emplace(scene, game).second) {
      throw refuse("names " + scene + " of the scene a second time");
    }
    if (!toScene_.emplace(game, scene).second) {
      throw refuse("names " + game + " of the game a second time");
    }
  }
}

void bonemap::Rename(const std::string& path, core::scene& scene, renaming direction) const {
  const auto& names = direction == renaming::ToGame ? toGame_ : toScene_;
  if (names.empty()) {
    return;
  }
  std::vector<std::pair<cnode*, const std::string*>> renamed;
  std::unordered_map<std::string, std::string> old;  // by the name from now on
  std::vector<std::string> kept;
  for (cnode* node : scene.Nodes()) {
    if (node->GetType() != kNodeBone) {
      continue;
    }
    const std::string& name = node->State().name;
    if (const auto found = names.find(name); found == names.end()) {
      kept.push_back(name);
    } else {
      renamed.emplace_back(node, &found->second);
      old.emplace(found->second, name);
    }
  }
  for (const std::string& name : kept) {
    if (const auto taken = old.find(name); taken != old.end()) {
      throw failure(path, "the bone " + taken->second + " cannot be renamed to " + name +
                              ", which another bone is called");
    }
  }
  for (const auto& [node, name] : renamed) {
    node->SetName(name->c_str());
  }
}

}  // namespace command
