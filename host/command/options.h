#pragma once

// The options that commands share.

#include <string>
#include <vector>

#include "command/files/paths.h"
#include "command/finish/finishmodel.h"
#include "command/run/answers.h"
#include "command/skeleton/rig.h"
#include "command/skeleton/sequenceplan.h"
#include "gltf/gltf.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace command {

// Options and the kinds of model that they are for.
class optiontable {
 public:
  void Add(CLI::Option* option, std::vector<filekind> kinds);
  // Fails as wrong usage when one was given that the kind has no use for.
  void RequireFor(filekind kind, const std::string& path) const;
  bool AnyGiven() const;

 private:
  struct row {
    CLI::Option* option;
    std::vector<filekind> kinds;
  };
  std::vector<row> rows_;
};

// What the dialogs before an import ask, and which mdx.
struct importoptions {
  importchoices choices;
  // Of --skin: a name each, or a tag and a name as tag_head:NAME for a model at that tag.
  std::vector<std::string> skins;
  optiontable table;

  // `noSkeleton` are the names of the flag that leaves the skeleton out.
  void Define(CLI::App& app, const std::string& noSkeleton);
};

// What the dialogs before an export ask, the sequence file, the helper bones and what is done in
// the written file.
struct exportoptions {
  exportchoices choices;
  finishsteps finish;
  rigoptions rig;
  std::string shaderDir;  // of materials whose path nothing tells; empty: none
  bool sequences = false;
  std::string sequencesFrom;  // the file whose frames the clips are laid at
  std::vector<loopchoice> loops;
  bool skin = false;    // whether a .skin file is written
  bool images = false;  // whether the images are
  bool helperBones = true;
  bool force = false;
  bool writeMdx = true;
  CLI::Option* noMdx = nullptr;
  optiontable table;

  void Define(CLI::App& app);
  // The mdx that goes with the model, where no window asks for it: the one that the user named, if
  // any, else the one of the model's name.
  void ChooseMdx(const std::string& path, const std::string& named);
  // How a scene is read for the export: with the rates of the sequence file that it is laid out by.
  gltf::options Reading(gltf::options how) const;
  // Fails as wrong usage when models of one run would write one side file.
  void RequireApart(const std::vector<std::string>& targets, const std::string& mdx) const;
};

// --ask. The user is asked in windows; only a dialog that no option answers is shown.
struct askoption {
  bool ask = false;

  void Define(CLI::App& app);
  bool Asks(const optiontable& answers) const;
};

// --bone-map, whose file is for bones of an import or an export.
CLI::Option* DefineBoneMap(CLI::App& app, std::string& path);

// The option's number lies between the two, which no NaN does.
void RequireRange(CLI::Option* option, double low, double high);

}  // namespace command
