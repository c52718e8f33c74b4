#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>

#include "command/commands.h"
#include "command/failure.h"
#include "command/files/modelcheck.h"
#include "command/files/scenefile.h"
#include "command/files/sequencefile.h"
#include "command/outputs.h"
#include "command/run/eachinput.h"
#include "command/run/processes.h"
#include "command/run/transfer.h"
#include "core/timeline.h"
#include "core/utf8path.h"

namespace command {

namespace {

struct convertjob {
  std::vector<std::string> files;
  outputoptions output;
  std::string source;
  std::string target;
  std::string mdx;
  std::string boneMap;
  importoptions in;
  exportoptions out;
  sceneoptions scene;
  askoption ask;
};

void CheckConversion(const convertjob& job, filekind from, filekind to) {
  if (from == filekind::Mdx) {
    throw failure(job.source,
                  "an mdx is a skeleton alone and comes in with its mesh: marrow convert MODEL.mdm "
                  "OUT --mdx FILE",
                  kExitUsage);
  }
  if (!IsSkeletal(from) && from != filekind::Scene && to == filekind::Mdx) {
    throw failure(job.target, "an mdc model has no bones, so there is nothing to put in an mdx",
                  kExitUsage);
  }
  if (!job.mdx.empty() && !FormatOf(from).IsPair() && !FormatOf(to).IsPair()) {
    throw failure(job.mdx, "--mdx is for an mdm model, and neither file is one", kExitUsage);
  }
  if (!job.mdx.empty() && !FormatOf(from).IsPair() && !job.out.writeMdx) {
    throw failure(job.mdx, "--mdx and --no-mdx exclude each other", kExitUsage);
  }
  for (const CLI::Option* option : {job.scene.scale, job.scene.facing, job.scene.fps}) {
    if (option->count() > 0 && from != filekind::Scene && to != filekind::Scene) {
      throw failure(option->get_name(), "applies to scene files, and neither file is one",
                    kExitUsage);
    }
  }
  if (!job.boneMap.empty() &&
      (from == filekind::Scene ? !IsSkeletal(to) : to != filekind::Scene || !IsSkeletal(from))) {
    throw failure(job.boneMap, "--bone-map needs a scene and a skeletal model", kExitUsage);
  }
  job.in.table.RequireFor(from, job.source);
  job.out.table.RequireFor(to, job.target);
}

// Without a sequence file a skeletal model comes in with its first frame alone. Where the
// conversion would replace the file that has the others, they would be lost; a user who asked for
// less may.
void RequireFramesKept(const convertjob& job, const importchoices& in, const std::string& targetMdx,
                       const core::scene& scene) {
  const bool asked = in.ask || in.firstFrame || !in.animation || !in.bones || !in.sequences.empty();
  const filekind from = KindOf(job.source);
  if (asked || !IsSkeletal(from)) {
    return;
  }
  const bool pair = FormatOf(from).IsPair();
  const std::string animated = pair ? SkeletonOf(job.source, job.mdx) : job.source;
  const auto replaced = [&](const std::string& target) {
    std::error_code error;
    return std::filesystem::equivalent(core::PathOf(animated), core::PathOf(target), error);
  };
  if (!replaced(job.target) && !replaced(targetMdx)) {
    return;
  }
  const filekind kind = FormatOf(from).skeleton;
  const std::int64_t frames = FramesOf(animated, kind);
  if (scene.animEnd + std::int64_t{1} < frames) {
    throw failure(job.target, "not converted in place: of the " + std::to_string(frames) +
                                  " frames of " + animated + " only " +
                                  std::to_string(scene.animEnd + 1) + " would be left, since " +
                                  SequenceFileOf(animated, kind) +
                                  " has no sequences: marrow sequences " + animated +
                                  " --init writes one, --first-frame takes the first alone");
  }
}

int Convert(programstate& state, const convertjob& job) {
  const filekind from = KindOf(job.source);
  const filekind to = KindOf(job.target);
  modelhost host(state.out, state.modulePath, state.memory);
  CheckConversion(job, from, to);
  exportoptions out = job.out;
  out.choices.ask = job.mdx.empty() && job.ask.Asks(out.table);
  out.ChooseMdx(job.target, FormatOf(from).IsPair() ? "" : job.mdx);
  if (to != filekind::Scene) {
    host.ExporterOf(job.target);
    CheckExport(job.target, out);
  }
  // A whole skeleton that comes from a file can be said in one, and stays as it is.
  out.helperBones = out.helperBones && (!IsSkeletal(from) || out.rig.bones.Any());
  out.rig.boneMap = job.boneMap;
  core::scene scene;
  if (from == filekind::Scene) {
    ReadSceneFile(state.out, job.source, out.Reading(job.scene.For(to)), scene);
  } else {
    importchoices in = job.in.choices;
    in.ask = job.mdx.empty() && job.ask.Asks(job.in.table);
    in.mdx = FormatOf(from).IsPair() ? job.mdx : std::string();
    in.boneMap = job.boneMap;
    in.shapes = !IsSkeletal(to);
    in.images = to == filekind::Scene;
    in.skin = job.in.skins.empty() ? std::string() : job.in.skins.back();
    const int code = ImportModel(state.out, host, job.source, in, scene);
    if (code != kExitDone) {
      return code;
    }
    if (FormatOf(from).vertexFrames && !in.shapes && scene.animEnd > scene.animStart) {
      state.out.Warning(
          job.target, "surfaces keep the shape that they have in the first frame of " + job.source +
                          ", since bones cannot move each vertex on its own");
    }
    // The importers of skeletons set the range's end behind the last key, or to 100 without any.
    if (IsSkeletal(from)) {
      scene.animStart = 0;
      scene.animEnd = core::LastKeyFrame(scene);
      RequireFramesKept(job, in, FormatOf(to).IsPair() ? out.choices.mdx : "", scene);
    }
  }
  if (to == filekind::Scene) {
    WriteSceneFile(state.out, scene, job.target, job.scene.how, state.memory);
    return kExitDone;
  }
  return ExportModel(state.out, host, job.target, out, job.scene.how.fps, scene);
}

int ConvertAll(programstate& state, const convertjob& job) {
  std::vector<std::string> sources = job.files;
  std::vector<std::string> targets;
  if (!job.output.target.empty() || !job.output.kind.empty()) {
    targets = job.output.For(sources);
  } else if (sources.size() == 2) {
    targets.push_back(sources.back());
    sources.pop_back();
  } else {
    throw failure("",
                  "convert takes the file to read and the file to write, or files to read and "
                  "--to KIND",
                  kExitUsage);
  }
  job.out.RequireApart(targets, FormatOf(KindOf(sources.front())).IsPair() ? "" : job.mdx);
  state.memory.Hold(SideBySide(sources.size(), job.output.jobs));
  return ForEachInput(state.out, sources, job.output.jobs, [&](std::size_t i) {
    convertjob each = job;
    each.source = sources[i];
    each.target = targets[i];
    return Convert(state, each);
  });
}

}  // namespace

void DefineConvert(CLI::App& app, programstate& state) {
  const auto job = std::make_shared<convertjob>();
  CLI::App* command = app.add_subcommand(
      "convert", "Turn a model or scene into one of another kind, by the files' suffixes");
  command
      ->add_option("FILE", job->files,
                   "The file to read (.glb, .gltf, .mdc, .mds or .mdm) and the file to write "
                   "(.glb, .gltf, .mdc, .mds, .mdm with the .mdx of the same name, or .mdx); with "
                   "-o or --to, files to read alone")
      ->required();
  job->output.Define(
      *command, "The file to write", "OUT",
      SuffixesOf(KindsThat([](const format& row) { return !row.suffixes[0].empty(); })));
  command
      ->add_option("--mdx", job->mdx,
                   "The mdx file of the file to read, if that is an mdm, else of the one to write "
                   "(default: the one of the same name)")
      ->option_text("FILE");
  DefineBoneMap(*command, job->boneMap);
  job->in.Define(*command, "--no-skeleton");  // --no-bones chooses those that are written
  job->out.Define(*command);
  job->scene.Define(*command);
  job->scene.DefineReading(*command);
  job->scene.DefineShapes(*command, job->in.table);
  job->ask.Define(*command);
  DefineQuiet(*command, state);
  DefineModule(*command, state);
  state.memory.Define(*command);
  AddExamples(*command, {"marrow convert models/players/hero/body.mds body.mdm --sequences",
                         "marrow convert *.mds -o scenes --to glb"});
  command->callback([&state, job] { state.exitCode = ConvertAll(state, *job); });
}

}  // namespace command
