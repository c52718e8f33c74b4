#include <CLI/CLI.hpp>
#include <memory>

#include "command/commands.h"
#include "command/failure.h"
#include "command/files/scenefile.h"
#include "command/run/transfer.h"

namespace command {

namespace {

struct importjob {
  std::string model;
  std::string target;
  importoptions options;
  sceneoptions scene;
  batchoption batch;
};

int Import(programstate& state, const importjob& job) {
  const filekind kind = KindOf(job.model);
  if (kind == filekind::Mdx) {
    throw failure(job.model,
                  "an mdx is a skeleton alone and comes in with its mesh: marrow import MODEL.mdm "
                  "--mdx FILE",
                  kExitUsage);
  }
  if (KindOf(job.target) != filekind::Scene) {
    throw failure(job.target, "a scene file ends in .glb or .gltf", kExitUsage);
  }
  modelhost host(state.out, state.modulePath);
  host.ImporterOf(job.model);
  job.options.table.RequireFor(kind, job.model);
  importchoices choices = job.options.choices;
  choices.ask = job.batch.Ask(job.options.table);
  core::scene scene;
  const int code = ImportModel(state.out, host, job.model, choices, scene);
  if (code == kExitDone) {
    WriteSceneFile(state.out, scene, job.target, job.scene.how);
  }
  return code;
}

}  // namespace

void DefineImport(CLI::App& app, programstate& state) {
  const auto job = std::make_shared<importjob>();
  CLI::App* command = app.add_subcommand("import", "Turn a game model into a glTF scene");
  command->add_option("MODEL", job->model, "The model: an mdc, mds or mdm file")->required();
  command->add_option("-o,--output", job->target, "The scene to write: a .glb or .gltf file")
      ->option_text("SCENE")
      ->required();
  job->options.Define(*command);
  job->options.table.Add(
      command
          ->add_option("--mdx", job->options.choices.mdx,
                       "Of an mdm: the mdx file with its skeleton and animation (default: the "
                       "one of the same name beside it)")
          ->option_text("FILE")
          ->group("Import"),
      {filekind::Mdm});
  job->scene.Define(*command);
  job->scene.DefineShapes(*command, job->options.table);
  job->batch.Define(*command);
  DefineQuiet(*command, state);
  DefineModule(*command, state);
  command->callback([&state, job] { state.exitCode = Import(state, *job); });
}

}  // namespace command
