#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "command/commands.h"
#include "command/failure.h"
#include "command/files/scenefile.h"
#include "command/outputs.h"
#include "command/run/attach.h"
#include "command/run/eachinput.h"
#include "command/run/transfer.h"

namespace command {

namespace {

struct importjob {
  std::vector<std::string> models;
  outputoptions output;
  importoptions options;
  std::vector<attachment> attached;
  sceneoptions scene;
  batchoption batch;
};

// The .skin file that was chosen for the model at the tag; "" for the first model.
std::string SkinFor(const importjob& job, const std::string& tag) {
  std::string chosen;
  for (const std::string& text : job.options.skins) {
    const auto of = std::ranges::find_if(
        job.attached, [&](const attachment& each) { return text.starts_with(each.tag + ":"); });
    const std::string wanted = of == job.attached.end() ? "" : of->tag;
    if (wanted == tag) {
      chosen = tag.empty() ? text : text.substr(tag.size() + 1);
    }
  }
  return chosen;
}

void AttachAll(programstate& state, modelhost& host, const importjob& job, const std::string& model,
               core::scene& scene) {
  assembly whole(state.out, host, model, scene);
  for (const attachment& each : job.attached) {
    importchoices choices;
    choices.frame = each.frame;
    choices.skin = SkinFor(job, each.tag);
    choices.noSkin = job.options.choices.noSkin;
    choices.materials = job.options.choices.materials;
    choices.gameFolders = job.options.choices.gameFolders;
    whole.Attach(each, choices);
  }
}

int Import(programstate& state, const importjob& job, const std::string& model,
           const std::string& target) {
  const filekind kind = KindOf(model);
  if (kind == filekind::Mdx) {
    throw failure(model,
                  "an mdx is a skeleton alone and comes in with its mesh: marrow import MODEL.mdm "
                  "--mdx FILE",
                  kExitUsage);
  }
  if (KindOf(target) != filekind::Scene) {
    throw failure(target, "a scene file ends in .glb or .gltf", kExitUsage);
  }
  modelhost host(state.out, state.modulePath);
  host.ImporterOf(model);
  job.options.table.RequireFor(kind, model);
  importchoices choices = job.options.choices;
  choices.ask = job.models.size() == 1 && job.batch.Ask(job.options.table);
  choices.skin = SkinFor(job, "");
  for (const attachment& each : job.attached) {
    host.ImporterOf(each.model);
    RequireReadable(each.model);
    if (each.frame && KindOf(each.model) != filekind::Mdc) {
      throw failure(
          each.model,
          "has no frames to choose from: :" + std::to_string(*each.frame) + " is for an mdc",
          kExitUsage);
    }
  }
  core::scene scene;
  const int code = ImportModel(state.out, host, model, choices, scene);
  if (code == kExitDone) {
    if (!job.attached.empty()) {
      AttachAll(state, host, job, model, scene);
    }
    WriteSceneFile(state.out, scene, target, job.scene.how);
  }
  return code;
}

}  // namespace

void DefineImport(CLI::App& app, programstate& state) {
  const auto job = std::make_shared<importjob>();
  CLI::App* command = app.add_subcommand("import", "Turn a game model into a glTF scene");
  command->add_option("MODEL", job->models, "The model: an mdc, mds or mdm file, or several")
      ->required();
  job->output.usual = "glb";
  job->output.Define(*command, "The scene to write: a .glb or .gltf file", "SCENE",
                     {"glb", "gltf"});
  job->options.Define(*command, "--no-skeleton,--no-bones");
  job->options.table.Add(
      command
          ->add_option("--mdx", job->options.choices.mdx,
                       "Of an mdm: the mdx file with its skeleton and animation (default: the "
                       "one of the same name beside it)")
          ->option_text("FILE")
          ->group("Import"),
      {filekind::Mdm});
  command
      ->add_option_function<std::vector<std::string>>(
          "--attach",
          [job](const std::vector<std::string>& texts) {
            std::ranges::transform(texts, std::back_inserter(job->attached), AttachmentOf);
          },
          "A model to hang on a tag, of the model or of one attached before, as "
          "tag_head=head.mdc; an mdc plays its frames, or stays at one as tag_head=head.mdc:12. "
          "May be given several times")
      ->allow_extra_args(false)
      ->option_text("TAG=MODEL")
      ->group("Import");
  job->options.table.Add(DefineBoneMap(*command, job->options.choices.boneMap)->group("Import"),
                         {filekind::Mds, filekind::Mdm});
  job->scene.Define(*command);
  job->scene.DefineShapes(*command, job->options.table);
  job->batch.Define(*command);
  DefineQuiet(*command, state);
  DefineModule(*command, state);
  AddExamples(*command, {"marrow import models/players/hero/body.mds -o hero.glb --skin dark",
                         "marrow import body.mdm --attach tag_head=head.mdc"});
  command->callback([&state, job] {
    const std::vector<std::string> targets = job->output.For(job->models);
    state.exitCode = ForEachInput(state.out, job->models, job->output.jobs, [&](std::size_t i) {
      return Import(state, *job, job->models[i], targets[i]);
    });
  });
}

}  // namespace command
