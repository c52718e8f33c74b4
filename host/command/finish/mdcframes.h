#pragma once

#include <string>
#include <vector>

#include "command/run/answers.h"
#include "core/scene.h"
#include "mdc/mdcfile.h"

namespace command {

// What an import takes of an mdc beyond the one frame that the handler brings.
class mdcframes {
 public:
  // Fails where the file is refused.
  explicit mdcframes(const std::string& path);

  // Fails where the file has not all frames that the choices name.
  void Choose(const importchoices& choices);
  int First() const { return first_; }

  // Gives the scene that the handler has just made of the file's frame `First` the other frames: a
  // key of each tag for each frame and, with `shapes`, morph targets for the surfaces that change,
  // which become nodes of type skin. Equal frames share a target. Normals are the file's where a
  // frame has them set, which compressed frames have not, and smoothed ones otherwise. Scene frame
  // 0 is file frame `First`.
  void Take(core::scene& scene, bool shapes) const;

 private:
  void TakeTag(const cmdctagentry& tag, cnode& node) const;
  void TakeSurface(const cmdcsurfentry& entry, bool shapes, core::scene& scene, cmesh& mesh) const;
  void RequireFrames(const char* option, const framestretch& asked, int first, int last) const;

  std::string path_;
  cmdcfile file_;
  int first_ = 0;
  int last_ = 0;  // included
  std::vector<framestretch> clips_;
  bool morphNormals_ = true;
};

}  // namespace command
