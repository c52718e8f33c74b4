#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <optional>

#include "command/failure.h"
#include "command/files/modelcheck.h"
#include "command/files/sequencefile.h"
#include "command/finish/finishmodel.h"
#include "command/finish/storedname.h"
#include "command/game/shaderpaths.h"
#include "command/game/writeimages.h"
#include "command/game/writeskin.h"
#include "command/run/framelimit.h"
#include "command/run/transfer.h"
#include "command/skeleton/helperbones.h"
#include "command/skeleton/rig.h"
#include "command/skeleton/sequenceplan.h"
#include "command/skeleton/skeletonlosses.h"
#include "command/wording.h"
#include "core/state.h"
#include "core/utf8path.h"
#include "files/replacement.h"

namespace command {

namespace {

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
  if (FormatOf(kind).surfaces && IsSkeletal(kind) && !meshes.empty()) {
    out.Warning(path,
                "meshes that no skeleton moves are left out, since the format has surfaces "
                "of skins only: " +
                    JoinedFew(meshes));
  }
  if (IsSkeletal(kind) && !HasNode(scene, kNodeBone)) {
    out.Warning(path, "the scene has no bones, so the model has no skeleton");
  }
}

// The place of the origin's node in the scene, if one is named.
std::size_t OriginOf(const std::string& path, const std::string& origin, const core::scene& scene) {
  std::vector<std::string> names;
  for (const cnode* node : scene.Nodes()) {
    names.push_back(node->State().name);
  }
  const auto found = std::ranges::find(names, origin);
  if (!origin.empty() && found == names.end()) {
    throw failure(path,
                  "the scene has no node " + origin + " for --origin" + NearOrAll(origin, names));
  }
  return static_cast<std::size_t>(found - names.begin());
}

void LayOutSequences(console& out, const std::string& path, const exportoptions& options,
                     core::scene& scene) {
  if (const std::string& plan = options.sequencesFrom; !plan.empty()) {
    const sequencelist sequences = ReadSequenceFile(plan);
    sequences.losses.Tell(out, plan);
    for (const std::string& text : LayOutBy(plan, sequences.lines, scene)) {
      out.Warning(path, text);
    }
  } else {
    RestoreLayout(scene);
  }
  SetLoops(path, options.loops, scene);
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
        " hung on a bone, since a skeleton has one position for all top bones; without, they "
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

// A file that the user chose while the run was on; the new file to write. Empty: there is none. No
// failure may pass through the module.
std::string AddChosen(console& out, files::replacement& set, const std::string& path) {
  try {
    return set.Add(path);
  } catch (const files::fault& failed) {
    out.Error(failed.Path(), failed.what());
    return {};
  }
}

failure NotWritten(const std::string& path, const std::string& cause) {
  std::error_code error;
  const bool old = std::filesystem::exists(core::PathOf(path), error);
  return {path, (old ? "not written, the previous file is kept: " : "not written: ") + cause};
}

// A model that is written beside its target.
struct newmodel {
  std::string path;     // as the user named it
  std::string written;  // the new file beside it
  filekind kind = filekind::Other;
  std::string storedName;  // in its header; empty: not known
};

// The origin of frames: that of the scene without a node.
cpoint3 PlaceOf(const std::string& origin, const core::scene& scene) {
  for (cnode* node : scene.Nodes()) {
    if (!origin.empty() && node->GetName() == origin) {
      return node->GetPosAtFrame(0);
    }
  }
  return {};
}

// Reads back what the run wrote; fails where it is not what the scene has, or a call of the run
// failed.
writtenmodel CheckWritten(const newmodel& model, const writtenfrom& from,
                          const std::string& writeFault) {
  writtenmodel written;
  const std::string fault =
      FaultOfWritten(model.written, model.kind, model.storedName, from, written);
  if (!fault.empty()) {
    throw NotWritten(model.path, writeFault.empty() ? fault : writeFault);
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

// The sequence file that goes with the model, if one is to.
struct newsequences {
  std::string path;
  std::vector<sequenceline> lines;  // none: no file
};

newsequences AddSequences(console& out, files::replacement& set, const std::string& animated,
                          const exportoptions& options, const framerange& range, double fps,
                          const core::scene& scene) {
  const filekind kind = KindOf(animated);
  newsequences added{SequenceFileOf(animated, kind), SequencesOf(scene, range, fps)};
  std::error_code error;
  if (added.lines.empty()) {
    out.Warning(added.path, "is not written: the scene has no clips in the exported frames");
  } else if (!options.force && std::filesystem::exists(core::PathOf(added.path), error)) {
    out.Warning(added.path, "already exists, kept; use --force to replace it");
    added.lines.clear();
  } else {
    WriteSequenceFile(set, added.path, kind, added.lines);
  }
  return added;
}

}  // namespace

void CheckExport(const std::string& path, const exportoptions& options) {
  const filekind kind = KindOf(path);
  options.table.RequireFor(kind, path);
  if (const std::string mdx = MdxToWrite(options.choices.mdx); !mdx.empty()) {
    MdxForModule(mdx, mdx, kLongestMdxToWrite);
    const std::string whole = FullPath(mdx);
    if (whole == FullPath(path)) {
      throw failure(mdx, "--mdx and -o name the same file", kExitUsage);
    }
    const std::filesystem::path folder = core::PathOf(whole).parent_path();
    if (std::error_code error; !std::filesystem::is_directory(folder, error)) {
      throw failure(mdx, "the folder " + folder.string() + " does not exist");
    }
  }
  if (options.force && !options.sequences && !options.skin && !options.images) {
    throw failure(path, "--force goes with --sequences, --write-skin or --write-images",
                  kExitUsage);
  }
  if (FormatOf(kind).IsPair() && options.sequences && !options.writeMdx) {
    throw failure(path,
                  "--sequences and --no-mdx exclude each other: the sequence file of an mdm "
                  "lies beside its mdx",
                  kExitUsage);
  }
}

int ExportModel(console& out, modelhost& host, const std::string& path,
                const exportoptions& options, double fps, core::scene& scene) {
  const filekind kind = KindOf(path);
  const format& kept = FormatOf(kind);
  std::string mdx = MdxToWrite(options.choices.mdx);
  const module::handler& handler = host.ExporterOf(path);
  exportchoices choices = options.choices;
  preparedrig rig;
  if (!scene.Nodes().empty()) {
    const std::size_t origin = OriginOf(path, choices.origin, scene);
    if (IsSkeletal(kind)) {
      const bool animated = !kept.IsPair() || !mdx.empty();
      rig = PrepareRig(out, path, animated, options.rig, scene);
    }
    TellNames(out, path, kind, scene);
    TellWhatIsLeftOut(out, path, kind, scene);
    if (!choices.origin.empty()) {
      choices.origin = scene.Nodes()[origin]->GetName();
    }
  }

  if (IsSkeletal(kind) && !scene.Nodes().empty()) {
    LayOutSequences(out, path, options, scene);
  }

  helperbones helped;
  if (IsSkeletal(kind) && options.helperBones) {
    helped = AddHelperBones(scene, kind);
  }

  SetShaderPaths(scene, options.shaderDir);

  files::replacement set(out.Warnings());
  newmodel model{path, set.Add(path), kind, {}};
  newmodel skeleton{mdx, mdx.empty() ? mdx : set.Add(mdx), filekind::Mdx, {}};
  if (skeleton.written == model.written) {
    throw failure(mdx, "--mdx and -o name the same file", kExitUsage);
  }
  choices.mdx = MdxForModule(mdx, skeleton.written, kLongestMdxToWrite);
  LimitFrames(kind, scene, host.Memory(), choices);
  exportanswers answers(choices);
  const int result =
      host.Export(handler, scene, path, model.written, answers, [&](const std::string& chosen) {
        std::string written = AddChosen(out, set, chosen);
        if (!written.empty()) {
          skeleton.path = chosen;
          skeleton.written = written;
        }
        return written;
      });
  if (!answers.Refusal().empty()) {
    throw failure(path, answers.Refusal());
  }
  if (result == kRunNothing) {
    return kExitNothing;
  }
  if (result == kRunFailed) {
    if (!host.Told()) {
      throw NotWritten(path, host.WriteFault().empty()
                                 ? "the run failed; perhaps there was not enough memory"
                                 : host.WriteFault());
    }
    return kExitFailed;
  }
  mdx = skeleton.path;
  const std::optional<framerange>& range = answers.Range();
  finishsteps finish = options.finish;
  if (rig.torso != nullptr) {
    finish.torso = BoneNumber(scene, kept.skeleton, *rig.torso);
  }
  model.storedName = SetStoredName(model.written, FullPath(path), kind, choices.modelsDir);
  FinishModel(out, path, model.written, kind, finish, scene, range);
  const writtenfrom from{scene, range, PlaceOf(choices.origin, scene), finish};
  const writtenmodel written = CheckWritten(model, from, host.WriteFault());
  writtenmodel writtenMdx;
  if (!mdx.empty()) {
    skeleton.storedName =
        SetStoredName(skeleton.written, FullPath(mdx), filekind::Mdx, choices.modelsDir);
    FinishModel(out, mdx, skeleton.written, filekind::Mdx, finish, scene, range);
    writtenMdx = CheckWritten(skeleton, from, host.WriteFault());
    if (const std::string fault = FaultOfPair(model.written, skeleton.written); !fault.empty()) {
      throw NotWritten(path, "does not match " + mdx + ": " + fault);
    }
  }
  newsequences sequences;
  if (options.sequences && range) {
    sequences = AddSequences(out, set, kept.IsPair() ? mdx : path, options, *range, fps, scene);
  }
  set.Commit();
  TellRootBone(out, path, rig.root);
  TellWhatWasHelped(out, path, helped);
  for (const std::string& adjusted : answers.Adjusted()) {
    out.Warning(path, adjusted);
  }
  TellWhatIsLost(out, path, kind, scene, range);
  if (!mdx.empty()) {
    TellWhatIsLost(out, mdx, filekind::Mdx, scene, range);
  }
  TellWritten(out, path, written);
  if (!mdx.empty()) {
    TellWritten(out, mdx, writtenMdx);
  } else if (kept.IsPair()) {
    out.Note(path, "its skeleton and animation are not written");
  }
  if (!sequences.lines.empty()) {
    TellSequenceFile(out, sequences.path, sequences.lines);
  }
  if (options.skin) {
    WriteSkinFile(out, path, kind, options.force);
  }
  if (options.images) {
    WriteImages(out, path, scene, options.force);
  }
  return kExitDone;
}

}  // namespace command
