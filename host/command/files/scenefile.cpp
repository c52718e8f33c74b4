#include "command/files/scenefile.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>

#include "command/failure.h"
#include "command/files/paths.h"
#include "command/options.h"
#include "command/wording.h"
#include "core/state.h"
#include "core/timeline.h"
#include "mdc/records.h"

namespace command {

namespace {

// A bind pose that agrees with the offsets better than this share of the model's size is right up
// to single precision.
constexpr double kBindNoise = 1e-5;

// The longest edge of the box around all skins at rest.
double SizeOfSkins(const core::scene& scene) {
  bool any = false;
  cpoint3 low;
  cpoint3 high;
  for (cnode* node : scene.Nodes()) {
    if (node->GetType() != kNodeSkin) {
      continue;
    }
    for (const cpoint3& at : static_cast<cskin*>(node)->Skin().mesh.verts) {
      low = any ? MakePt3(std::min(low.x, at.x), std::min(low.y, at.y), std::min(low.z, at.z)) : at;
      high = any ? MakePt3(std::max(high.x, at.x), std::max(high.y, at.y), std::max(high.z, at.z))
                 : at;
      any = true;
    }
  }
  return std::max({high.x - low.x, high.y - low.y, high.z - low.z});
}

std::string Short(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.4g", value);
  return text;
}

void TellBindResidual(console& out, const core::scene& scene, const std::string& path,
                      const gltf::bindresidual& bind) {
  const double size = SizeOfSkins(scene);
  if (bind.largest > kBindNoise * size) {
    out.Warning(path, "no rest pose fits all weights: in the best one a vertex is up to " +
                          Short(bind.largest) + " units off (" + Short(bind.mean) +
                          " in the mean) on a model of " + Short(size));
  }
}

// Every clip gets the rate that it was read at, and one that is not the usual is told.
void SettleRates(console& out, const std::string& path, const gltf::options& how,
                 core::scene& scene) {
  const int usual = WholeRate(how.fps);
  std::vector<std::string> own;
  for (core::clip& clip : scene.clips) {
    if (clip.rate == 0) {
      clip.rate = usual;
    } else if (clip.rate != usual) {
      own.push_back(clip.name + " (" + std::to_string(clip.rate) + ")");
    }
  }
  if (!own.empty()) {
    out.Note(path,
             "read at the frames a second of their sequences or keys, which --fps overrides: " +
                 JoinedFew(own));
  }
}

// Clips may share frames, and a file has every frame of each. They are built in memory.
void RequireClipsFit(const core::scene& scene, const std::string& path, const memorylimit& memory) {
  constexpr std::uint64_t kBytesAFrame = 28;   // a position and a rotation
  constexpr std::uint64_t kBytesAClip = 2800;  // of a node's channels and samplers, as measured
  // What clips can honestly take: 500 of 200 bones, and eight that share each frame.
  constexpr std::uint64_t kFree = std::uint64_t{256} << 20;
  constexpr std::uint64_t kClipsAFrame = 8;
  std::uint64_t keys = 0;
  std::uint64_t moving = 0;
  for (const cnode* node : scene.Nodes()) {
    const std::uint64_t own = node->State().track->State().keys.size();
    keys += own;
    moving += own > 1 ? 1 : 0;
  }
  std::uint64_t bytes = 0;
  const std::vector<core::clip> clips = core::NamedClips(scene);
  for (const core::clip& clip : clips) {
    bytes += moving *
             (static_cast<std::uint64_t>(std::max(clip.frames, 0)) * kBytesAFrame + kBytesAClip);
  }
  memory.Require(path, Counted(std::ssize(clips), "clip"), bytes,
                 kFree + kClipsAFrame * keys * kBytesAFrame);
}

}  // namespace

void sceneoptions::Define(CLI::App& app) {
  scale = app.add_option("--scale", how.scale,
                         "Units of the games to one unit of the scene file, which is a metre")
              ->option_text("S")
              ->capture_default_str();
  const std::map<std::string, gltf::facing> fronts{{"+z", gltf::facing::PlusZ},
                                                   {"-z", gltf::facing::MinusZ},
                                                   {"+x", gltf::facing::PlusX},
                                                   {"-x", gltf::facing::MinusX}};
  facing = app.add_option("--facing", how.front,
                          "Axis of the scene file that its character looks along: +z, -z, +x or -x "
                          "(default +z); in the games it looks along +x")
               ->option_text("AXIS")
               ->transform(CLI::CheckedTransformer(fronts, CLI::ignore_case));
  how.ownRates = true;
  fps = app.add_option("--fps", how.fps,
                       "Frames a second at which all clips are read and written (default: for each "
                       "clip that of its sequence, or of its keys where they stand at each frame "
                       "of a whole rate from 20 up, else 20)")
            ->option_text("N")
            ->each([this](const std::string& /*text*/) { how.ownRates = false; });
  RequireRange(scale, 1e-6, 1e6);
  RequireRange(fps, 0.1, 1000.0);
}

void sceneoptions::DefineReading(CLI::App& app) {
  app.add_flag("--allow-outside", how.allowOutside,
               "Read files that a .gltf names outside of its own folder too");
}

void sceneoptions::DefineShapes(CLI::App& app, optiontable& table) {
  table.Add(
      app.add_option_function<std::string>(
             "--interpolate", [this](const std::string& text) { how.stepped = text == "step"; },
             "Of an mdc: between two frames the clips blend, as the games do (linear, the "
             "default), or hold the first (step)")
          ->check(CLI::IsMember({"linear", "step"}))
          ->option_text("linear|step")
          ->group("Import"),
      KindsThat([](const format& row) { return row.vertexFrames; }));
}

gltf::options sceneoptions::For(filekind kind) const {
  gltf::options chosen = how;
  const bool vertexFrames = FormatOf(kind).vertexFrames;
  chosen.keepMorphTargets = vertexFrames || kind == filekind::Scene;
  chosen.keepChangingScale = vertexFrames;
  chosen.grid = vertexFrames ? double{kMdcUnitsPerStep} : 0.0;
  return chosen;
}

void ReadSceneFile(console& out, const std::string& path, const gltf::options& how,
                   core::scene& scene) {
  RequireReadable(path);
  gltf::report told;
  const bool read = gltf::ReadScene(path, how, scene, told);
  for (const std::string& warning : told.warnings) {
    out.Warning(path, warning);
  }
  if (!read) {
    throw failure(path, told.noMemory ? std::string(kNoMemory) : told.fault);
  }
  SettleRates(out, path, how, scene);
}

void WriteSceneFile(console& out, const core::scene& scene, const std::string& path,
                    const gltf::options& how, const memorylimit& memory) {
  RequireClipsFit(scene, path, memory);
  gltf::report told;
  const bool written = gltf::WriteScene(scene, path, how, told);
  for (const std::string& warning : told.warnings) {
    out.Warning(path, warning);
  }
  if (!written) {
    throw failure(path, "not written: " + (told.noMemory ? std::string(kNoMemory) : told.fault));
  }
  TellBindResidual(out, scene, path, told.bind);
  // A file has a clip only with a node that it moves.
  const std::ptrdiff_t clips = scene.Nodes().empty() ? 0 : std::ssize(core::NamedClips(scene));
  out.Result(path, "written: " + Counted(std::ssize(scene.Nodes()), "node") + ", " +
                       Counted(clips, "clip"));
}

}  // namespace command
