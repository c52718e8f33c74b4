#pragma once

// What `import` and `view` have in common: a model, or several at each other's tags, into a scene.

#include <string>
#include <vector>

#include "command/commands.h"
#include "command/files/scenefile.h"
#include "command/options.h"
#include "command/run/attach.h"
#include "core/scene.h"

namespace command {

struct importjob {
  importoptions options;
  std::vector<attachment> attached;
  sceneoptions scene;

  // The options, in the parser; the job lives as long as the parser.
  void Define(CLI::App& app);
  // Wrong usage that is told before anything is read.
  void Check(modelhost& host, const std::string& model) const;
  // The .skin file that was chosen for the model at the tag; "" for the first model.
  std::string SkinFor(const std::string& tag) const;
  // The model with what is attached to it, into an empty scene; `ask` as importchoices has it.
  // kExitDone, or the code of a run that gave something else: why is told.
  int Run(programstate& state, modelhost& host, const std::string& model, bool ask,
          core::scene& into) const;
};

}  // namespace command
