#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <optional>

#include "command/failure.h"
#include "command/files/keptfiles.h"
#include "command/files/modelcheck.h"
#include "command/files/sequencefile.h"
#include "command/finish/finishmodel.h"
#include "command/run/transfer.h"
#include "command/skeleton/helperbones.h"
#include "command/skeleton/rootbone.h"
#include "command/skeleton/skeletonlosses.h"
#include "command/wording.h"
#include "core/state.h"
#include "core/utf8path.h"

namespace command {

namespace {

// An mdc counts frames in 16 bits.
constexpr std::int64_t kMostMdcFrames = 65535;

bool HasNode(const core::scene& scene, int type) {
  return std::ranges::any_of(scene.Nodes(),
                             [type](cnode* node) { return node->GetType() == type; });
}

// What a scene has and the format does not take, and would leave out without a word.
void TellWhatIsLeftOut(console& out, const std::string& path, filekind kind,
                       const core::scene& scene) {
  std::vector<std::string> meshes;
  for (cnode* node : scene.Nodes()) {
    if (node->GetType() == kNodeMesh) {
      meshes.emplace_back(node->GetName());
    }
  }
  if ((kind == filekind::Mds || kind == filekind::Mdm) && !meshes.empty()) {
    out.Warning(path,
                "meshes that no skeleton moves are left out, since the format has surfaces "
                "of skins only: " +
                    JoinedFew(meshes));
  }
  if (IsSkeletal(kind) && !HasNode(scene, kNodeBone)) {
    out.Warning(path, "the scene has no bones, so the model has no skeleton");
  }
}

void RequireOrigin(const std::string& path, const std::string& origin, const core::scene& scene) {
  std::vector<std::string> names;
  for (const cnode* node : scene.Nodes()) {
    names.push_back(node->State().name);
  }
  if (!origin.empty() && std::ranges::find(names, origin) == names.end()) {
    const std::string near = DidYouMean(origin, names);
    throw failure(path, "the scene has no node " + origin + " for --origin" +
                            (near.empty() ? "; there are: " + JoinedFew(names) : near));
  }
}

void TellRootBone(console& out, const std::string& path, const rootbone& made) {
  if (made.name.empty()) {
    return;
  }
  out.Note(path, "the scene has no bones, so its surfaces and tags hang from one root bone, " +
                     made.name);
  if (!made.moving.empty()) {
    out.Warning(path, "surfaces on the root bone stay where they are at frame 0, and these move: " +
                          JoinedFew(made.moving));
  }
}

void TellWhatWasHelped(console& out, const std::string& path, const helperbones& made) {
  std::vector<std::string> parts;
  if (!made.stretching.empty()) {
    parts.push_back(Counted(std::ssize(made.stretching), "helper bone") +
                    " added, since a bone keeps one length and these change theirs; without, "
                    "they would be off: " +
                    FarthestFew(made.stretching));
  }
  if (!made.hung.empty()) {
    parts.push_back(
        Counted(std::ssize(made.hung), "further top bone") +
        " hung on a bone, since a skeleton has one place for all top bones; without, they "
        "would be off: " +
        FarthestFew(made.hung));
  }
  if (!parts.empty()) {
    out.Note(path, parts.front() + (parts.size() > 1 ? "; " + parts.back() : ""));
  }
}

void TellWhatIsLost(console& out, const std::string& path, filekind kind, const core::scene& scene,
                    const std::optional<framerange>& range) {
  if (IsSkeletal(kind) && range) {
    for (const std::string& loss : SkeletonLosses(scene, kind, *range)) {
      out.Warning(path, loss);
    }
  }
}

// A file that the user chose while the run was on. No failure may pass through the module.
bool AddChosen(console& out, keptfiles& kept, const std::string& path) {
  try {
    kept.Add(path);
    return true;
  } catch (const failure& failed) {
    out.Error(failed.Subject(), failed.what());
    return false;
  }
}

// Reads back what the run wrote; fails where it is not what the scene has.
writtenmodel CheckWritten(const std::string& path, filekind kind, const core::scene& scene,
                          const std::optional<framerange>& range) {
  writtenmodel written;
  const std::string fault = FaultOfWritten(path, kind, ExpectedOf(scene, kind, range), written);
  if (!fault.empty()) {
    throw failure(path, "could not be written whole, so everything is as it was before: " + fault);
  }
  return written;
}

void TellWritten(console& out, const std::string& path, const writtenmodel& written) {
  if (written.reach >= kMdcReach) {
    char reach[32];
    std::snprintf(reach, sizeof reach, "%.0f", written.reach);
    out.Warning(path, "reaches " + std::string(reach) +
                          " units from its origin, and an mdc holds coordinates within 512: those "
                          "beyond are wrong; a smaller --scale or an --origin inside helps");
  }
  for (const std::string& limit : written.limits) {
    out.Warning(path, limit);
  }
  out.Result(path, "written: " + written.summary);
}

void WriteSequences(console& out, const std::string& animated, const exportoptions& options,
                    const framerange& range, double fps, const core::scene& scene) {
  const filekind kind = KindOf(animated);
  const std::string path = SequenceFileOf(animated, kind);
  const std::vector<sequenceline> lines = SequencesOf(scene, range, fps);
  std::error_code error;
  if (lines.empty()) {
    out.Warning(path, "is not written: the scene has no clips in the exported frames");
  } else if (!options.force && std::filesystem::exists(core::PathOf(path), error)) {
    out.Warning(path, "is there and stays as it is; --force replaces it");
  } else {
    WriteSequenceFile(out, path, kind, lines);
  }
}

}  // namespace

void CheckExport(const std::string& path, const exportoptions& options) {
  const filekind kind = KindOf(path);
  options.table.RequireFor(kind, path);
  if (const std::string mdx = MdxToWrite(options.choices.mdx); !mdx.empty()) {
    CheckMdxPath(mdx);
    const std::string whole = FullPath(mdx);
    if (whole == FullPath(path)) {
      throw failure(mdx, "--mdx and -o name the same file", kExitUsage);
    }
    const std::filesystem::path folder = core::PathOf(whole).parent_path();
    if (std::error_code error; !std::filesystem::is_directory(folder, error)) {
      throw failure(mdx, "there is no directory " + folder.string());
    }
  }
  if (kind == filekind::Mdm && options.sequences && !options.writeMdx) {
    throw failure(path,
                  "--sequences and --no-mdx exclude each other: the sequence file of an mdm "
                  "lies beside its mdx",
                  kExitUsage);
  }
}

int ExportModel(console& out, modelhost& host, const std::string& path,
                const exportoptions& options, double fps, core::scene& scene) {
  const filekind kind = KindOf(path);
  std::string mdx = MdxToWrite(options.choices.mdx);
  const module::handler& handler = host.ExporterOf(path);
  rootbone root;
  if (IsSkeletal(kind)) {
    root = HangOnRootBone(scene);
  }
  if (!scene.Nodes().empty()) {
    RequireOrigin(path, options.choices.origin, scene);
    TellWhatIsLeftOut(out, path, kind, scene);
  }

  helperbones helped;
  if (IsSkeletal(kind) && options.helperBones) {
    helped = AddHelperBones(scene, kind);
  }

  keptfiles kept(out);
  kept.Add(path);
  if (!mdx.empty()) {
    kept.Add(mdx);
  }
  exportchoices choices = options.choices;
  choices.mdx = mdx;
  if (kind == filekind::Mdc) {
    choices.mostFrames = kMostMdcFrames;
  }
  exportanswers answers(choices);
  const int result = host.Export(handler, scene, path, answers, [&](const std::string& chosen) {
    const bool added = AddChosen(out, kept, chosen);
    mdx = added ? chosen : mdx;
    return added;
  });
  if (!answers.Refusal().empty()) {
    throw failure(path, answers.Refusal());
  }
  if (result == kRunNothing) {
    return kExitNothing;
  }
  if (result == kRunFailed) {
    if (!host.Told()) {
      out.Error(path, "could not be written");
    }
    return kExitFailed;
  }
  const std::optional<framerange>& range = answers.Range();
  FinishModel(out, path, path, kind, options.finish, scene, range);
  const writtenmodel written = CheckWritten(path, kind, scene, range);
  writtenmodel writtenMdx;
  if (!mdx.empty()) {
    writtenMdx = CheckWritten(mdx, filekind::Mdx, scene, range);
    if (const std::string fault = FaultOfPair(path, mdx); !fault.empty()) {
      throw failure(path,
                    "does not fit to " + mdx + ", so everything is as it was before: " + fault);
    }
  }
  kept.Keep();
  TellRootBone(out, path, root);
  TellWhatWasHelped(out, path, helped);
  TellWhatIsLost(out, path, kind, scene, range);
  if (!mdx.empty()) {
    TellWhatIsLost(out, mdx, filekind::Mdx, scene, range);
  }
  TellWritten(out, path, written);
  if (!mdx.empty()) {
    TellWritten(out, mdx, writtenMdx);
  } else if (kind == filekind::Mdm) {
    out.Note(path, "its skeleton and animation are not written");
  }
  if (options.sequences && range) {
    WriteSequences(out, kind == filekind::Mdm ? mdx : path, options, *range, fps, scene);
  }
  return kExitDone;
}

}  // namespace command
