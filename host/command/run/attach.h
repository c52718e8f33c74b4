#pragma once

#include <map>
#include <optional>
#include <string>

#include "command/console.h"
#include "command/options.h"
#include "command/run/modelrun.h"
#include "core/scene.h"

namespace command {

// A model that is put into a scene at one of its tags.
struct attachment {
  std::string tag;
  std::string model;
  std::optional<int> frame;  // of an mdc: it stays at this one
};

// As tag_head=head.mdc, or tag_head=head.mdc:12 for a frame. Throws CLI::ValidationError.
attachment AttachmentOf(const std::string& text);

// Puts models together, one after the other, in the scene of the first.
class assembly {
 public:
  // `scene` holds the imported model at `path`, and outlives this object.
  assembly(console& out, modelhost& host, const std::string& path, core::scene& scene);

  // Imports the model and hangs its top nodes on the tag, which may be one of a model that was
  // attached before. What moves of it runs along from the scene's first frame on. Names that are
  // taken get the model's behind them. Fails where there is no such tag, and lists those there are.
  void Attach(const attachment& what, const importchoices& choices);

 private:
  void AddTags(const std::string& path, const core::scene& from);
  void HangOn(cnode& tag, core::scene& part);
  void MakeNamesUnique(core::scene& part, const std::string& model) const;

  console& out_;
  modelhost& host_;
  core::scene& scene_;
  std::map<std::string, cnode*> tags_;
};

}  // namespace command
