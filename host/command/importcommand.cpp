#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "command/commands.h"
#include "command/failure.h"
#include "command/importjob.h"
#include "command/outputs.h"
#include "command/run/eachinput.h"
#include "command/run/processes.h"

namespace command {

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
  modelhost host(state.out, state.modulePath, state.memory);
  given.job.Check(host, model);
  const bool ask = given.ask.Asks(given.job.options.table);
  core::scene scene;
  const int code = given.job.Run(state, host, model, ask, scene);
  if (code == kExitDone) {
    WriteSceneFile(state.out, scene, target, given.job.scene.how, state.memory);
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
  state.memory.Define(*command);
  AddExamples(*command, {"marrow import models/players/hero/body.mds -o hero.glb --skin dark",
                         "marrow import body.mdm --attach tag_head=head.mdc"});
  command->callback([&state, given] {
    const std::vector<std::string> targets = given->output.For(given->models);
    state.memory.Hold(SideBySide(given->models.size(), given->output.jobs));
    state.exitCode = ForEachInput(state.out, given->models, given->output.jobs, [&](std::size_t i) {
      return Import(state, *given, given->models[i], targets[i]);
    });
  });
}

}  // namespace command
