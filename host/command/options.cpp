#include "command/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <set>

#include "command/failure.h"
#include "command/files/sequencefile.h"
#include "command/run/askuser.h"
#include "command/wording.h"

namespace command {

namespace {

// A flag that turns off what is on without it.
CLI::Option* AddOff(CLI::App& app, const std::string& name, bool& value, const std::string& text) {
  return app.add_flag_callback(
      name, [&value] { value = false; }, text);
}

// Two numbers as 10-19; one stands for both.
framestretch StretchOf(const std::string& text, const std::string& option) {
  framestretch made;
  const auto number = [&](const char* from, const char* end, int& to) {
    const auto [behind, error] = std::from_chars(from, end, to);
    return error == std::errc() && to >= 0 ? behind : nullptr;
  };
  const char* const end = text.data() + text.size();
  const char* at = number(text.data(), end, made.first);
  made.last = made.first;
  if (at != nullptr && at != end) {
    at = *at == '-' ? number(at + 1, end, made.last) : nullptr;
  }
  if (at != end || made.last < made.first) {
    throw CLI::ValidationError(option, text + " is not a range of frames such as 10-19");
  }
  return made;
}

framestretch ClipOf(const std::string& text) {
  const std::size_t equals = text.rfind('=');
  if (equals == std::string::npos || equals == 0) {
    throw CLI::ValidationError("--clip", text + " is not a clip such as walk=10-19");
  }
  framestretch made = StretchOf(text.substr(equals + 1), "--clip");
  made.name = text.substr(0, equals);
  return made;
}

loopchoice LoopOf(const std::string& text) {
  const std::size_t equals = text.rfind('=');
  loopchoice made;
  if (equals != std::string::npos && equals > 0) {
    made.name = text.substr(0, equals);
    const char* const end = text.data() + text.size();
    const auto [behind, error] = std::from_chars(text.data() + equals + 1, end, made.frames);
    if ((error == std::errc() && behind == end && made.frames >= 0) ||
        text.substr(equals + 1) == "all") {
      return made;
    }
  }
  throw CLI::ValidationError("--loop", text + " is not a loop such as walk=12 or walk=all");
}

}  // namespace

void optiontable::Add(CLI::Option* option, std::vector<filekind> kinds) {
  rows_.push_back({option, std::move(kinds)});
}

void optiontable::RequireFor(filekind kind, const std::string& path) const {
  for (const row& entry : rows_) {
    if (entry.option->count() > 0 && std::ranges::find(entry.kinds, kind) == entry.kinds.end()) {
      std::vector<std::string> kinds;
      for (const filekind fit : entry.kinds) {
        kinds.push_back(KindText(fit));
      }
      throw failure(path,
                    entry.option->get_name() + " does not apply to " + KindText(kind) +
                        ", only to " + Joined(kinds),
                    kExitUsage);
    }
  }
}

bool optiontable::AnyGiven() const {
  return std::ranges::any_of(rows_, [](const row& entry) { return entry.option->count() > 0; });
}

void importoptions::Define(CLI::App& app, const std::string& noSkeleton) {
  constexpr char kGroup[] = "Import";
  const std::vector<filekind> surfaces = KindsThat([](const format& row) { return row.surfaces; });
  const std::vector<filekind> vertexFrames =
      KindsThat([](const format& row) { return row.vertexFrames; });
  const std::vector<filekind> skeletal =
      KindsThat([](const format& row) { return row.skeletal && row.surfaces; });
  CLI::Option* frame =
      app.add_option(
             "--frame", choices.frame,
             "Of an mdc: one frame alone, from 0; one beyond the model's frames becomes the "
             "last")
          ->option_text("N");
  CLI::Option* frames =
      app.add_option_function<std::string>(
             "--frames",
             [this](const std::string& text) { choices.frames = StretchOf(text, "--frames"); },
             "Of an mdc: the frames to import, as 10-19 (default: all)")
          ->option_text("A-B");
  CLI::Option* clip =
      app.add_option_function<std::vector<std::string>>(
             "--clip",
             [this](const std::vector<std::string>& texts) {
               for (const std::string& text : texts) {
                 choices.clips.push_back(ClipOf(text));
               }
             },
             "Of an mdc: a clip of the frames, as walk=10-19; may be given several times (default: "
             "one clip of all frames)")
          ->allow_extra_args(false)
          ->option_text("NAME=A-B");
  CLI::Option* noNormals = app.add_flag_callback(
      "--no-morph-normals", [this] { choices.morphNormals = false; },
      "Of an mdc: the scene gets the normals of the first frame alone, which makes it smaller by a "
      "third");
  frame->excludes(frames)->excludes(clip);
  for (CLI::Option* option : {frame, frames, clip, noNormals}) {
    option->group(kGroup);
    table.Add(option, vertexFrames);
  }

  table.Add(
      app.add_option("--game-dir", choices.gameFolders,
                     "A folder of a game, above its models folder, to look for images in; may "
                     "be given several times, and later ones win. The one above the model's own "
                     "models folder wins over all, unless it is given too")
          ->check(CLI::ExistingDirectory)
          ->allow_extra_args(false)
          ->option_text("DIR")
          ->group(kGroup),
      surfaces);
  CLI::Option* skin =
      app.add_option("--skin", skins,
                     "The .skin file beside the model that says which images its surfaces wear "
                     "(default: the first by name); TAG:NAME for that of an attached model. A line "
                     "of it is SURFACE,PATH beside an mds and SURFACE,\"PATH\" beside an mdm")
          ->allow_extra_args(false)
          ->option_text("NAME");
  CLI::Option* noSkin = app.add_flag(
      "--no-skin", choices.noSkin, "No .skin file: surfaces wear the shaders that the model names");
  CLI::Option* sequence =
      app.add_option("--sequence", choices.sequences,
                     "A sequence of the model's sequence file to import; may be given several "
                     "times (default: all sequences, with every frame of the model)")
          ->allow_extra_args(false)
          ->option_text("NAME");
  CLI::Option* firstFrame =
      app.add_flag("--first-frame", choices.firstFrame, "No sequences: the first frame as a pose");
  CLI::Option* noMeshes =
      AddOff(app, "--no-meshes", choices.meshes, "The skeleton and its animation alone");
  CLI::Option* noBones =
      AddOff(app, noSkeleton, choices.bones, "Meshes without skeleton and animation");
  CLI::Option* noMaterials = AddOff(app, "--no-materials", choices.materials, "No materials");
  CLI::Option* noAnimation = AddOff(app, "--no-animation", choices.animation,
                                    "The first frame as a pose, as --first-frame");
  skin->excludes(noSkin)->excludes(noMaterials);
  sequence->excludes(firstFrame)->excludes(noAnimation)->excludes(noBones);
  for (CLI::Option* option :
       {skin, noSkin, sequence, firstFrame, noMeshes, noBones, noMaterials, noAnimation}) {
    option->group(kGroup);
    table.Add(option, skeletal);
  }
}

void exportoptions::Define(CLI::App& app) {
  constexpr char kGroup[] = "Export";
  const std::vector<filekind> models = KindsThat([](const format& row) { return row.IsModel(); });
  const std::vector<filekind> surfaces = KindsThat([](const format& row) { return row.surfaces; });
  const std::vector<filekind> skeletal = KindsThat([](const format& row) { return row.skeletal; });
  table.Add(
      app.add_option("--start", choices.start, "First frame to export (default: the scene's first)")
          ->option_text("N")
          ->group(kGroup),
      models);
  table.Add(app.add_option("--end", choices.end,
                           "Last frame to export, itself included (default: the scene's last)")
                ->option_text("N")
                ->group(kGroup),
            models);
  table.Add(app.add_option("--origin", choices.origin,
                           "Node whose position at frame 0 is the model's origin (default: the "
                           "scene's origin)")
                ->option_text("NODE")
                ->group(kGroup),
            models);
  table.Add(AddOff(app, "--no-models-dir", choices.modelsDir,
                   "Of an mdc: do not put \"models/\" before names that are not in a models "
                   "folder")
                ->group(kGroup),
            KindsThat([](const format& row) { return row.vertexFrames; }));
  CLI::Option* sequencesFlag =
      app.add_flag("--sequences", sequences,
                   "Write the scene's clips as the model's sequence file too: wolfanim.cfg beside "
                   "an mds, NAME.aninc beside an mdx. Each line has name, first frame, frames, "
                   "frames that loop, frames a second. An existing one is kept")
          ->group(kGroup);
  table.Add(sequencesFlag, skeletal);
  CLI::Option* loop =
      app.add_option_function<std::vector<std::string>>(
             "--loop",
             [this](const std::vector<std::string>& texts) {
               std::ranges::transform(texts, std::back_inserter(loops), LoopOf);
             },
             "With --sequences: how many frames of a clip loop, as walk=20 or walk=all; may be "
             "given several times (default: as in the model that the scene came from, else 0)")
          ->allow_extra_args(false)
          ->needs(sequencesFlag)
          ->option_text("NAME=N")
          ->group(kGroup);
  table.Add(loop, skeletal);
  table.Add(app.add_option("--sequences-from", sequencesFrom,
                           "A sequence file whose frames the model is to have: each clip is laid "
                           "at the frames of the sequence of its name, and frames of sequences "
                           "without a clip are filled, with a warning")
                ->option_text("FILE")
                ->group(kGroup),
            skeletal);
  table.Add(app.add_flag("--write-skin", skin,
                         "Write the surfaces' shaders as NAME.skin beside the model too")
                ->group(kGroup),
            KindsThat([](const format& row) { return row.skeletal && row.surfaces; }));
  table.Add(app.add_flag("--write-images", images,
                         "Write the scene's images too, as TGA or JPEG at the paths that the model "
                         "stores, below the folder above its models folder")
                ->group(kGroup),
            surfaces);
  app.add_flag("--force", force,
               "Replace existing files of --sequences, --write-skin and --write-images")
      ->group(kGroup);
  noMdx = AddOff(app, "--no-mdx", writeMdx,
                 "Of an mdm: do not write the mdx file with its skeleton and animation")
              ->group(kGroup);
  table.Add(noMdx, KindsThat([](const format& row) { return row.IsPair(); }));
  for (CLI::Option* option :
       {app.add_option("--bones", rig.bones.only,
                       "The joints that become bones, by name: * stands for any text, ? for a "
                       "character; may be given several times (default: all). Weights of a "
                       "joint that is left out go to the nearest bone above it. Tags stay. An mdm "
                       "and its mdx need the same choice"),
        app.add_option("--no-bones", rig.bones.without,
                       "Joints or tags that do not become bones, as with --bones")}) {
    table.Add(option->allow_extra_args(false)->option_text("GLOB")->group(kGroup), skeletal);
  }
  table.Add(
      app.add_option("--torso", rig.torso,
                     "The bone that the torso begins with: it and what hangs from it follow the "
                     "torso in the games, nothing else does (default: by the names of the games' "
                     "skeleton)")
          ->option_text("BONE")
          ->group(kGroup),
      skeletal);
  table.Add(AddOff(app, "--no-helper-bones", helperBones,
                   "Write the skeleton as it is. Without this, a bone whose distance from its "
                   "parent changes gets a helper bone between the two, and a further top bone "
                   "that moves on its own is hung on the first, since the formats hold neither. "
                   "An mdm and its mdx need the same choice")
                ->group(kGroup),
            skeletal);
  table.Add(
      AddOff(app, "--no-normals", finish.normals,
             "Leave the normals as the handler writes them: 0 in an mdc, in the space of the "
             "rest pose in an mds or mdm. Without this they are those that the games light by")
          ->group(kGroup),
      surfaces);
  table.Add(
      app.add_option("--shader-dir", shaderDir,
                     "The folder, as models/players/hero, of materials that have no path of "
                     "the game: neither as game_path, nor as their name, nor as their image's")
          ->option_text("DIR")
          ->group(kGroup),
      surfaces);
}

void exportoptions::ChooseMdx(const std::string& path, const std::string& named) {
  if (FormatOf(KindOf(path)).IsPair() && !choices.ask) {
    choices.mdx = !writeMdx ? "" : named.empty() ? WithSuffix(path, ".mdx") : named;
  }
}

gltf::options exportoptions::Reading(gltf::options how) const {
  if (!sequencesFrom.empty()) {
    how.sequenceOf = SequenceFinder(ReadSequenceFile(sequencesFrom).lines);
  }
  return how;
}

void exportoptions::RequireApart(const std::vector<std::string>& targets,
                                 const std::string& mdx) const {
  if (targets.size() > 1 && !mdx.empty()) {
    throw failure(mdx, "--mdx names one file, and there are several models to write", kExitUsage);
  }
  std::set<std::string> written;
  for (const std::string& target : targets) {
    if (sequences && KindOf(target) == filekind::Mds &&
        !written.insert(FullPath(SequenceFileOf(target, filekind::Mds))).second) {
      throw failure(target,
                    "--sequences is for one model here: all mds models of a folder have one "
                    "sequence file",
                    kExitUsage);
    }
  }
}

void askoption::Define(CLI::App& app) {
  app.add_flag_callback(
      "--ask",
      [this] {
        if (!CanAsk()) {
          throw CLI::ValidationError("--ask", "only the program for Windows has windows to ask in");
        }
        ask = true;
      },
      "On Windows: show a dialog that no option answers as a window. Without this, what no option "
      "says is as the dialogs have it");
}

bool askoption::Asks(const optiontable& answers) const { return ask && !answers.AnyGiven(); }

CLI::Option* DefineBoneMap(CLI::App& app, std::string& path) {
  return app
      .add_option("--bone-map", path,
                  "A text file with lines Name in scene = Name in game: bones are renamed by it, "
                  "from the scene's names to the games' on export, and back on import")
      ->option_text("FILE");
}

void RequireRange(CLI::Option* option, double low, double high) {
  option->check(CLI::Range(low, high))->check([](const std::string& text) {
    return std::isnan(std::strtod(text.c_str(), nullptr)) ? text + " is not a number"
                                                          : std::string();
  });
}

}  // namespace command
