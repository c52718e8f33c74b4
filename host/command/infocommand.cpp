#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <vector>

#include "command/commands.h"
#include "command/describe/describe.h"
#include "command/failure.h"
#include "command/files/scenefile.h"
#include "command/printable.h"
#include "command/wording.h"

namespace command {

namespace {

struct infojob {
  std::string path;
  bool json = false;
  sceneoptions scene;
};

// The fault is that of a model that an importer would refuse.
description Describe(programstate& state, const infojob& job, std::string& fault) {
  const filekind kind = KindOf(job.path);
  if (kind == filekind::Other) {
    throw failure(job.path,
                  "is " + KindText(kind) + "; info reads " +
                      Joined(SuffixesOf(
                          KindsThat([](const format& row) { return !row.suffixes[0].empty(); }))),
                  kExitUsage);
  }
  if (kind == filekind::Scene) {
    core::scene scene;
    ReadSceneFile(state.out, job.path, job.scene.For(filekind::Mdc), scene);
    return DescribeScene(scene, job.scene.how.fps);
  }
  RequireReadable(job.path);
  modelfindings found;
  description whole = DescribeModel(job.path, kind, found);
  for (const std::string& limit : found.limits) {
    state.out.Warning(job.path, limit);
  }
  if (!found.fault.empty()) {
    fault = found.fault;
    whole["refused"] = fault;
  }
  return whole;
}

void ShowInfo(programstate& state, const infojob& job) {
  state.memory.Hold(1);
  std::string fault;
  const description whole = Describe(state, job, fault);
  if (job.json) {
    const auto text = [&](bool ascii) {
      return whole.dump(2, ' ', ascii, description::error_handler_t::replace) + "\n";
    };
    const std::string plain = text(false);
    // What could steer a terminal and JSON leaves as it is stands as numbers then, as all beyond
    // ASCII.
    std::fputs((Printable(plain) == plain ? plain : text(true)).c_str(), stdout);
  } else {
    std::fputs(Printable(DescriptionText(whole)).c_str(), stdout);
  }
  if (!fault.empty()) {
    throw failure(job.path, fault);
  }
}

}  // namespace

void DefineInfo(CLI::App& app, programstate& state) {
  const auto job = std::make_shared<infojob>();
  CLI::App* command = app.add_subcommand("info", "Show what is in a model or a scene");
  command->add_option("FILE", job->path, "A .glb, .gltf, .mdc, .mds, .mdm or .mdx file")
      ->required();
  command->add_flag("--json", job->json, "As JSON, with every row of every list");
  job->scene.Define(*command);
  job->scene.DefineReading(*command);
  DefineQuiet(*command, state);
  state.memory.Define(*command);
  AddExamples(*command,
              {"marrow info models/players/hero/body.mds", "marrow info hero.glb --json"});
  command->callback([&state, job] { ShowInfo(state, *job); });
}

}  // namespace command
