#include <CLI/CLI.hpp>
#include <memory>

#include "command/commands.h"
#include "command/failure.h"
#include "command/files/scenefile.h"
#include "command/run/transfer.h"

namespace command {

namespace {

struct exportjob {
  std::string source;
  std::string target;
  exportoptions options;
  sceneoptions scene;
  batchoption batch;
};

int Export(programstate& state, const exportjob& job) {
  if (KindOf(job.source) != filekind::Scene) {
    throw failure(job.source, "a scene file ends in .glb or .gltf", kExitUsage);
  }
  modelhost host(state.out, state.modulePath);
  host.ExporterOf(job.target);
  exportoptions options = job.options;
  options.choices.ask = job.batch.Ask(options.table);
  options.ChooseMdx(job.target, options.choices.mdx);
  CheckExport(job.target, options);
  core::scene scene;
  ReadSceneFile(state.out, job.source, job.scene.For(KindOf(job.target)), scene);
  return ExportModel(state.out, host, job.target, options, job.scene.how.fps, scene);
}

}  // namespace

void DefineExport(CLI::App& app, programstate& state) {
  const auto job = std::make_shared<exportjob>();
  CLI::App* command = app.add_subcommand("export", "Turn a glTF scene into a game model");
  command->add_option("SCENE", job->source, "The scene: a .glb or .gltf file")->required();
  command
      ->add_option("-o,--output", job->target,
                   "The model to write: an mdc, mds, mdm or mdx file. An old one stays untouched "
                   "until the new one reads back whole")
      ->option_text("MODEL")
      ->required();
  job->options.Define(*command);
  CLI::Option* mdx =
      command
          ->add_option("--mdx", job->options.choices.mdx,
                       "Of an mdm: the mdx file to write its skeleton and animation to (default: "
                       "the one of the same name beside it)")
          ->option_text("FILE")
          ->group("Export");
  mdx->excludes(job->options.noMdx);
  job->options.table.Add(mdx, {filekind::Mdm});
  job->options.table.Add(DefineBoneMap(*command, job->options.rig.boneMap)->group("Export"),
                         {filekind::Mds, filekind::Mdm, filekind::Mdx});
  job->scene.Define(*command);
  job->batch.Define(*command);
  DefineQuiet(*command, state);
  DefineModule(*command, state);
  AddExamples(*command, {"marrow export walk.glb -o models/mapobjects/walk.mdc --origin tag_floor",
                         "marrow export hero.glb -o models/players/hero/body.mdm --sequences"});
  command->callback([&state, job] { state.exitCode = Export(state, *job); });
}

}  // namespace command
