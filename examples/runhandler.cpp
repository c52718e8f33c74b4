// Loads the module, imports a model into a scene and prints the scene's nodes.
// Usage: runhandler MODULE MODEL

#include <cstdio>
#include <memory>
#include <string>

#include "core/scene.h"
#include "desktop/scripted.h"
#include "module/module.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: runhandler MODULE MODEL\n", stderr);
    return 2;
  }
  const std::string model = argv[2];
  std::string error;
  // Outlives the scene, whose nodes the module made.
  const std::unique_ptr<module::library> module = module::library::Load(argv[1], error);
  if (module == nullptr) {
    std::fprintf(stderr, "%s: %s\n", argv[1], error.c_str());
    return 1;
  }
  const module::handler* handler = module->FindImporter(model.substr(model.rfind('.') + 1));
  if (handler == nullptr) {
    std::fprintf(stderr, "%s: the module imports no such file\n", model.c_str());
    return 1;
  }

  // Dialogs get OK as they open; an mdm's question for its mdx file is answered here.
  desktop::scripteddesktop desk;
  desk.onMessage = [](const std::string& text, const std::string& /*caption*/, int /*style*/) {
    std::fprintf(stderr, "%s\n", text.c_str());
  };
  desk.onOpenFile = [&model](const cfiledialog& /*dialog*/, std::string& path) {
    path = model.substr(0, model.rfind('.')) + ".mdx";
    return true;
  };
  desktop::MakeCurrent(&desk);
  core::scene scene;
  core::scene::MakeCurrent(&scene);

  const int result = handler->importer->Import(model.c_str());
  std::printf("%s: result %d, %zu nodes\n", handler->name.c_str(), result, scene.Nodes().size());
  for (cnode* node : scene.Nodes()) {
    std::printf("  %s\n", node->GetName());
  }
  core::scene::MakeCurrent(nullptr);
  desktop::MakeCurrent(nullptr);
  return result == kRunDone ? 0 : 1;
}
