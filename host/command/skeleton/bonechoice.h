#pragma once

#include <string>
#include <vector>

#include "core/scene.h"

namespace command {

// Which joints of a scene become bones of a model, by patterns of their names in which * stands for
// any text and ? for one character, in any case of letters.
struct bonechoice {
  std::vector<std::string> only;     // none: all bones
  std::vector<std::string> without;  // of those

  bool Any() const { return !only.empty() || !without.empty(); }
};

struct chosenbones {
  std::vector<std::string> leftOut;
  std::vector<std::string> unmatched;  // patterns that no bone's name has, with their option
};

// Makes of each bone that is not chosen a node that exporters do not see. Its weights go to the
// nearest bone above it that stays, at the vertices' places in the rest pose that the weights
// imply; bones that hang from it hang from that bone then, and move as before. Tags stay unless
// `without` names them, and nothing goes to them. Throws std::runtime_error, before anything is
// changed, where a left-out bone with weights or with bones that stay below it has no such bone
// above it, and where no bone is chosen.
chosenbones ChooseBones(core::scene& scene, const bonechoice& choice);

}  // namespace command
