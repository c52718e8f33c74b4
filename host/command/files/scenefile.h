#pragma once

#include <string>

#include "command/console.h"
#include "command/files/paths.h"
#include "command/memorylimit.h"
#include "command/options.h"
#include "core/scene.h"
#include "gltf/gltf.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace command {

// --scale, --facing and --fps of a command that touches a scene file.
struct sceneoptions {
  // glTF is in metres, and a unit of the games is about an inch.
  gltf::options how{.scale = 40.0};
  CLI::Option* scale = nullptr;
  CLI::Option* facing = nullptr;
  CLI::Option* fps = nullptr;

  void Define(CLI::App& app);
  // --allow-outside of a command that may read a scene.
  void DefineReading(CLI::App& app);
  // --interpolate of a command that may write what changes its shape.
  void DefineShapes(CLI::App& app, optiontable& table);
  // For a scene that goes into a file of the kind: frames of vertices take every change of shape.
  gltf::options For(filekind kind) const;
};

// What the file has and a scene cannot carry becomes warnings. Both fail when it cannot be done.
void ReadSceneFile(console& out, const std::string& path, const gltf::options& how,
                   core::scene& scene);
void WriteSceneFile(console& out, const core::scene& scene, const std::string& path,
                    const gltf::options& how, const memorylimit& memory);

}  // namespace command
