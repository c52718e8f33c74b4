#include <CLI/CLI.hpp>
#include <memory>

#include "command/commands.h"
#include "command/failure.h"
#include "command/files/scenefile.h"
#include "command/outputs.h"
#include "command/run/eachinput.h"
#include "command/run/processes.h"
#include "command/run/transfer.h"

namespace command {

namespace {

struct exportjob {
  std::vector<std::string> sources;
  outputoptions output;
  exportoptions options;
  sceneoptions scene;
  askoption ask;
};

int Export(programstate& state, const exportjob& job, const std::string& source,
           const std::string& target) {
  if (KindOf(source) != filekind::Scene) {
    throw failure(source, "a scene file ends in .glb or .gltf", kExitUsage);
  }
  modelhost host(state.out, state.modulePath, state.memory);
  host.ExporterOf(target);
  exportoptions options = job.options;
  options.choices.ask = job.ask.Asks(options.table);
  options.ChooseMdx(target, options.choices.mdx);
  CheckExport(target, options);
  core::scene scene;
  ReadSceneFile(state.out, source, options.Reading(job.scene.For(KindOf(target))), scene);
  return ExportModel(state.out, host, target, options, job.scene.how.fps, scene);
}

}  // namespace

void DefineExport(CLI::App& app, programstate& state) {
  const auto job = std::make_shared<exportjob>();
  CLI::App* command = app.add_subcommand("export", "Turn a glTF scene into a game model");
  command->add_option("SCENE", job->sources, "The scene: a .glb or .gltf file, or several")
      ->required();
  job->output.Define(*command,
                     "The model to write: an mdc, mds, mdm or mdx file, of which an old one is "
                     "kept until the new one reads back whole",
                     "MODEL",
                     SuffixesOf(KindsThat([](const format& row) { return row.IsModel(); })));
  job->options.Define(*command);
  CLI::Option* mdx =
      command
          ->add_option("--mdx", job->options.choices.mdx,
                       "Of an mdm: the mdx file to write its skeleton and animation to (default: "
                       "the one of the same name beside it)")
          ->option_text("FILE")
          ->group("Export");
  mdx->excludes(job->options.noMdx);
  job->options.table.Add(mdx, KindsThat([](const format& row) { return row.IsPair(); }));
  job->options.table.Add(DefineBoneMap(*command, job->options.rig.boneMap)->group("Export"),
                         KindsThat([](const format& row) { return row.skeletal; }));
  job->scene.Define(*command);
  job->scene.DefineReading(*command);
  job->ask.Define(*command);
  DefineQuiet(*command, state);
  DefineModule(*command, state);
  state.memory.Define(*command);
  AddExamples(*command, {"marrow export walk.glb -o models/mapobjects/walk.mdc --origin tag_floor",
                         "marrow export crate.glb barrel.glb -o models/mapobjects --to mdc"});
  command->callback([&state, job] {
    const std::vector<std::string> targets = job->output.For(job->sources);
    job->options.RequireApart(targets, job->options.choices.mdx);
    state.memory.Hold(SideBySide(job->sources.size(), job->output.jobs));
    state.exitCode = ForEachInput(state.out, job->sources, job->output.jobs, [&](std::size_t i) {
      return Export(state, *job, job->sources[i], targets[i]);
    });
  });
}

}  // namespace command
