// Turns a model into a glTF scene. Usage: toglb MODULE MODEL SCENE.glb

#include <cstdio>
#include <memory>
#include <string>

#include "core/scene.h"
#include "desktop/scripted.h"
#include "gltf/gltf.h"
#include "module/module.h"

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fputs("usage: toglb MODULE MODEL SCENE.glb\n", stderr);
    return 2;
  }
  const std::string model = argv[2];
  const std::string target = argv[3];
  std::string error;
  // Outlives the scene, whose nodes the module made.
  const std::unique_ptr<module::library> module = module::library::Load(argv[1], error);
  const module::handler* handler =
      module ? module->FindImporter(model.substr(model.rfind('.') + 1)) : nullptr;
  if (handler == nullptr) {
    std::fprintf(stderr, "%s: %s\n", argv[1], error.empty() ? "no such importer" : error.c_str());
    return 1;
  }

  // Dialogs get OK as they open; an mdm's question for its mdx file is answered here.
  desktop::scripteddesktop desk;
  desk.onOpenFile = [&model](const cfiledialog& /*dialog*/, std::string& path) {
    path = model.substr(0, model.rfind('.')) + ".mdx";
    return true;
  };
  desktop::MakeCurrent(&desk);
  core::scene scene;
  core::scene::MakeCurrent(&scene);
  if (handler->importer->Import(model.c_str()) != kRunDone) {
    std::fprintf(stderr, "%s: not imported\n", model.c_str());
    return 1;
  }

  gltf::options options;
  options.scale = 40.0;  // model units to a metre
  gltf::report report;
  const bool written = gltf::WriteScene(scene, target, options, report);
  for (const std::string& warning : report.warnings) {
    std::fprintf(stderr, "%s: %s\n", target.c_str(), warning.c_str());
  }
  if (!written) {
    std::fprintf(stderr, "%s: %s\n", target.c_str(), report.fault.c_str());
  }
  return written ? 0 : 1;
}
