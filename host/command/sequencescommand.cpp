#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>

#include "command/commands.h"
#include "command/failure.h"
#include "command/files/modelcheck.h"
#include "command/files/sequencefile.h"
#include "command/options.h"
#include "core/utf8path.h"

namespace command {

namespace {

struct sequencesjob {
  std::string model;
  std::string mdx;
  double fps = 20.0;
  bool init = false;
  bool force = false;
};

int InitSequences(programstate& state, const sequencesjob& job) {
  filekind kind = KindOf(job.model);
  if (!IsSkeletal(kind)) {
    throw failure(job.model, "sequence files are for mds, mdm and mdx models", kExitUsage);
  }
  state.memory.Hold(1);
  RequireReadable(job.model);
  std::string animated = job.model;
  if (FormatOf(kind).IsPair()) {
    animated = SkeletonOf(job.model, job.mdx);
    kind = FormatOf(kind).skeleton;
  } else if (!job.mdx.empty()) {
    throw failure(job.model, "--mdx is for an mdm model", kExitUsage);
  }
  const std::int64_t frames = FramesOf(animated, kind);
  const std::string path = SequenceFileOf(animated, kind);
  std::error_code error;
  if (!job.force && std::filesystem::exists(core::PathOf(path), error)) {
    throw failure(path, "already exists, kept; use --force to replace it");
  }
  const std::vector<sequenceline> lines = WholeSequence(frames, job.fps);
  files::replacement set(state.out.Warnings());
  WriteSequenceFile(set, path, kind, lines);
  set.Commit();
  TellSequenceFile(state.out, path, lines);
  return kExitDone;
}

}  // namespace

void DefineSequences(CLI::App& app, programstate& state) {
  const auto job = std::make_shared<sequencesjob>();
  CLI::App* command =
      app.add_subcommand("sequences", "Write a sequence file for a skeletal model that has none");
  command
      ->add_option("MODEL", job->model,
                   "The model: an mds file (wolfanim.cfg beside it is written, for all mds models "
                   "of the directory), or an mdx or mdm file (NAME.aninc beside the mdx)")
      ->required();
  command
      ->add_flag("--init", job->init,
                 "Write one sequence, \"all\", that covers every frame of the model: the start of "
                 "a sequence file, to be divided by hand. Without a sequence file only the first "
                 "frame of a model can be imported")
      ->required();
  command
      ->add_option("--mdx", job->mdx,
                   "Of an mdm: its mdx file (default: the one of the same name beside it)")
      ->option_text("FILE");
  CLI::Option* fps = command->add_option("--fps", job->fps, "Frames a second of the sequence")
                         ->option_text("N")
                         ->capture_default_str();
  RequireRange(fps, 1.0, 1000.0);
  command->add_flag("--force", job->force, "Replace a sequence file that is there");
  DefineQuiet(*command, state);
  state.memory.Define(*command);
  AddExamples(*command, {"marrow sequences models/players/hero/body.mds --init",
                         "marrow sequences body.mdm --mdx human.mdx --init --fps 15 --force"});
  command->callback([&state, job] { state.exitCode = InitSequences(state, *job); });
}

}  // namespace command
