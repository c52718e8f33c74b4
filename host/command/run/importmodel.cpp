#include <filesystem>
#include <limits>

#include "command/failure.h"
#include "command/files/modelcheck.h"
#include "command/files/pairfit.h"
#include "command/files/sequencefile.h"
#include "command/finish/filenormals.h"
#include "command/finish/gameimages.h"
#include "command/finish/mdcframes.h"
#include "command/game/dresssurfaces.h"
#include "command/run/transfer.h"
#include "command/skeleton/bonemap.h"
#include "command/wording.h"
#include "core/state.h"
#include "core/utf8path.h"

namespace command {

namespace {

// The importer takes a sequence file that the disk does not give, or not to its end, for one with
// fewer sequences, and says nothing of what it passes over.
void CheckSequences(console& out, const std::string& animated, filekind kind, int found) {
  const std::string side = SequenceFileOf(animated, kind);
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(core::PathOf(side), error);
  if (status.type() == std::filesystem::file_type::none) {
    throw failure(side, "cannot be read: " + error.message());
  }
  if (!std::filesystem::exists(status)) {
    return;
  }
  if (!std::filesystem::is_regular_file(status)) {
    out.Warning(side, std::string("not read: is ") + (std::filesystem::is_directory(status)
                                                          ? "a directory, not a file"
                                                          : "not a regular file"));
    return;
  }
  const std::optional<sequencelist> held = ReadAsImporter(side, kind, FramesOf(animated, kind));
  if (!held || std::ssize(held->lines) > found) {
    RequireReadable(side);
    throw failure(side, "cannot be read to its end");
  }
  held->losses.Tell(out, side);
}

// Without a sequence file there is nothing to select, and the importer makes one pose.
void TellFirstFrameOnly(console& out, const std::string& path, const std::string& animated,
                        filekind kind) {
  const std::int64_t frames = FramesOf(animated, kind);
  if (frames > 1) {
    out.Note(path, "only the first of its " + std::to_string(frames) +
                       " frames can be imported, since " + SequenceFileOf(animated, kind) +
                       " has no sequences: marrow sequences " + animated +
                       " --init writes one that covers them all");
  }
}

void TellWhatChanged(console& out, const std::string& path, const importchoices& choices,
                     const importanswers& answers) {
  if (answers.ClampedTo()) {
    out.Warning(path, "has no frame " + std::to_string(*choices.frame) + ": frame " +
                          std::to_string(*answers.ClampedTo()) + " is imported");
  }
  if (IsSkeletal(KindOf(path)) && !choices.ask && !choices.firstFrame && choices.bones &&
      choices.animation) {
    const std::string& animated = choices.mdx.empty() ? path : choices.mdx;
    const filekind kind = choices.mdx.empty() ? filekind::Mds : filekind::Mdx;
    CheckSequences(out, animated, kind, answers.NumSequences());
    if (answers.NumSequences() == 0) {
      TellFirstFrameOnly(out, path, animated, kind);
    }
  }
}

std::string SkinBeside(const std::string& path, const std::string& name) {
  return name.empty() ? name : (core::PathOf(path).parent_path() / core::PathOf(name)).string();
}

// A model's file is held whole, and its scene takes up to four times as much.
void RequireMemory(const memorylimit& memory, const std::string& path) {
  constexpr std::uint64_t kMemoryAByte = 5;
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(core::PathOf(path), error);
  if (!error) {
    memory.Require(path, "the file and its scene", kMemoryAByte * size,
                   std::numeric_limits<std::uint64_t>::max());
  }
}

}  // namespace

int ImportModel(console& out, modelhost& host, const std::string& path,
                const importchoices& choices, core::scene& scene) {
  const module::handler& handler = host.ImporterOf(path);
  RequireReadable(path);
  RequireMemory(host.Memory(), path);
  importchoices chosen = choices;
  if (FormatOf(KindOf(path)).IsPair() && !chosen.ask) {
    chosen.mdx = SkeletonOf(path, chosen.mdx);
    RequireMemory(host.Memory(), chosen.mdx);
  }
  std::optional<mdcframes> frames;
  if (FormatOf(KindOf(path)).vertexFrames && !chosen.ask) {
    frames.emplace(path);
    frames->Choose(chosen);
    if (!chosen.frame) {
      chosen.frame = frames->First();
    }
  }
  const bonemap names = chosen.boneMap.empty() ? bonemap() : bonemap(chosen.boneMap);
  importchoices answered = chosen;
  answered.mdx = MdxForModule(chosen.mdx, chosen.mdx, kLongestMdxToRead);
  importanswers answers(answered);
  const int result =
      host.Import(handler, scene, path, answers, [&](const std::string& mdx) { chosen.mdx = mdx; });
  if (!answers.Refusal().empty()) {
    throw failure(path, answers.Refusal());
  }
  if (result == kRunFailed && !host.Told()) {
    throw failure(path, WhyRefused(path, chosen.mdx, answers.Frame()));
  }
  if (result == kRunNothing) {
    return kExitNothing;
  }
  if (result == kRunFailed) {
    return kExitFailed;
  }
  for (const std::string& warning : scene.warnings) {
    out.Warning(path, warning);
  }
  if (FormatOf(KindOf(path)).IsPair()) {
    for (const std::string& doubt : DoubtsOfPair(path, chosen.mdx)) {
      out.Warning(path, "may not belong to " + chosen.mdx + ": " + doubt);
    }
  }
  TellWhatChanged(out, path, chosen, answers);
  if (FormatOf(KindOf(path)).vertexFrames && !frames) {
    chosen.frame = answers.Frame();
    frames.emplace(path);
    frames->Choose(chosen);
  }
  if (frames) {
    frames->Take(scene, chosen.shapes);
  } else {
    TakeFileNormals(out, path, KindOf(path), scene);
  }
  names.Rename(path, scene, renaming::ToScene);
  // Of a choice in a window only the handler's materials tell.
  imagesources sources;
  if (chosen.ask ? !scene.Materials().empty() : chosen.materials) {
    sources = DressSurfaces(out, path, KindOf(path), SkinBeside(path, answers.Skin()), scene);
  }
  if (chosen.images) {
    FindGameImages(out, path, chosen.gameFolders, sources, scene);
  }
  SetGamePaths(scene);
  return kExitDone;
}

}  // namespace command
