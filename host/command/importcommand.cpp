#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "command/commands.h"
#include "command/failure.h"
#include "command/importjob.h"
#include "command/outputs.h"
#include "command/run/eachinput.h"
#include "command/run/transfer.h"

namespace command {

std::string importjob::SkinFor(const std::string& tag) const {
  std::string chosen;
  for (const std::string& text : options.skins) {
    const auto of = std::ranges::find_if(
        attached, [&](const attachment& each) { return text.starts_with(each.tag + ":"); });
    const std::string wanted = of == attached.end() ? "" : of->tag;
    if (wanted == tag) {
      chosen = tag.empty() ? text : text.substr(tag.size() + 1);
    }
  }
  return chosen;
}

void importjob::Define(CLI::App& app) {
  options.Define(app, "--no-skeleton,--no-bones");
  options.table.Add(app.add_option("--mdx", options.choices.mdx,
                                   "Of an mdm: the mdx file with its skeleton and animation "
                                   "(default: the one of the same name beside it)")
                        ->option_text("FILE")
                        ->group("Import"),
                    {filekind::Mdm});
  app.add_option_function<std::vector<std::string>>(
         "--attach",
         [this](const std::vector<std::string>& texts) {
           std::ranges::transform(texts, std::back_inserter(attached), AttachmentOf);
         },
         "A model to hang on a tag, of the model or of one attached before, as "
         "tag_head=head.mdc; an mdc plays its frames, or stays at one as tag_head=head.mdc:12. "
         "May be given several times")
      ->allow_extra_args(false)
      ->option_text("TAG=MODEL")
      ->group("Import");
  options.table.Add(DefineBoneMap(app, options.choices.boneMap)->group("Import"),
                    {filekind::Mds, filekind::Mdm});
  scene.Define(app);
  scene.DefineShapes(app, options.table);
}

void importjob::Check(modelhost& host, const std::string& model) const {
  const filekind kind = KindOf(model);
  if (kind == filekind::Mdx) {
    throw failure(model,
                  "an mdx is a skeleton alone and comes in with its mesh: marrow import MODEL.mdm "
                  "--mdx FILE",
                  kExitUsage);
  }
  host.ImporterOf(model);
  options.table.RequireFor(kind, model);
  for (const attachment& each : attached) {
    host.ImporterOf(each.model);
    RequireReadable(each.model);
    if (each.frame && KindOf(each.model) != filekind::Mdc) {
      throw failure(
          each.model,
          "has no frames to choose from: :" + std::to_string(*each.frame) + " is for an mdc",
          kExitUsage);
    }
  }
}

int importjob::Run(programstate& state, modelhost& host, const std::string& model, bool ask,
                   core::scene& into) const {
  importchoices choices = options.choices;
  choices.ask = ask;
  choices.skin = SkinFor("");
  const int code = ImportModel(state.out, host, model, choices, into);
  if (code != kExitDone || attached.empty()) {
    return code;
  }
  assembly whole(state.out, host, model, into);
  for (const attachment& each : attached) {
    importchoices own;
    own.frame = each.frame;
    own.skin = SkinFor(each.tag);
    own.noSkin = choices.noSkin;
    own.materials = choices.materials;
    own.gameFolders = choices.gameFolders;
    whole.Attach(each, own);
  }
  return kExitDone;
}

namespace {

struct importcommand {
  std::vector<std::string> models;
  outputoptions output;
  importjob job;
  askoption ask;
};

int Import(programstate& state, const importcommand& given, const std::string& model,
           const std::string& target) {
  if (KindOf(target) != filekind::Scene) {
    throw failure(target, "a scene file ends in .glb or .gltf", kExitUsage);
  }
  modelhost host(state.out, state.modulePath);
  given.job.Check(host, model);
  const bool ask = given.ask.Asks(given.job.options.table);
  core::scene scene;
  const int code = given.job.Run(state, host, model, ask, scene);
  if (code == kExitDone) {
    WriteSceneFile(state.out, scene, target, given.job.scene.how);
  }
  return code;
}

}  // namespace

void DefineImport(CLI::App& app, programstate& state) {
  const auto given = std::make_shared<importcommand>();
  CLI::App* command = app.add_subcommand("import", "Turn a game model into a glTF scene");
  command->add_option("MODEL", given->models, "The model: an mdc, mds or mdm file, or several")
      ->required();
  given->output.usual = "glb";
  given->output.Define(*command, "The scene to write: a .glb or .gltf file", "SCENE",
                       {"glb", "gltf"});
  given->job.Define(*command);
  given->ask.Define(*command);
  DefineQuiet(*command, state);
  DefineModule(*command, state);
  AddExamples(*command, {"marrow import models/players/hero/body.mds -o hero.glb --skin dark",
                         "marrow import body.mdm --attach tag_head=head.mdc"});
  command->callback([&state, given] {
    const std::vector<std::string> targets = given->output.For(given->models);
    state.exitCode = ForEachInput(state.out, given->models, given->output.jobs, [&](std::size_t i) {
      return Import(state, *given, given->models[i], targets[i]);
    });
  });
}

}  // namespace command
