#include "handlers.h"

#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "core/assertion.h"
#include "gltf/gltf.h"

namespace {

constexpr int kImportDialog = 101;
constexpr int kSelectAllSequences = 1005;

// A run as a host has it: what the module asserts ends the run alone.
template <class Run>
void AsHost(core::scene& scene, Run&& run) {
  core::scene::MakeCurrent(&scene);
  try {
    run();
  } catch (const core::assertionfailure&) {
  }
  core::scene::MakeCurrent(nullptr);
}

}  // namespace

handlers::handlers() {
  std::string error;
  module_ = module::library::Load(MARROW_MODULE_PATH, error);
  if (module_ == nullptr) {
    std::fprintf(stderr, "%s: %s\n", MARROW_MODULE_PATH, error.c_str());
    std::exit(EXIT_FAILURE);
  }
  desk_.scripts[kImportDialog] = [](desktop::scriptedwindow& window) {
    window.Click(kSelectAllSequences);
    window.Ok();
  };
  desk_.onOpenFile = desk_.onSaveFile = [this](const cfiledialog&, std::string& path) {
    path = folder_.File("a.mdx");
    return true;
  };
  desktop::MakeCurrent(&desk_);
}

handlers& handlers::Loaded() {
  static handlers loaded;
  return loaded;
}

void handlers::Import(const std::string& suffix, core::scene& into) {
  const std::string path = folder_.File("a." + suffix);
  AsHost(into, [&] { module_->FindImporter(suffix)->importer->Import(path.c_str()); });
}

void handlers::Export(unsigned choice, core::scene& scene) {
  constexpr const char* kWritten[] = {"mdc", "mds", "mdm", "glb"};
  const std::string suffix = kWritten[choice % std::size(kWritten)];
  const std::string path = folder_.File("b." + suffix);
  if (suffix != "glb") {
    AsHost(scene, [&] { module_->FindExporter(suffix)->exporter->Export(path.c_str()); });
    return;
  }
  gltf::report told;
  if (!gltf::WriteScene(scene, path, {.scale = 40.0}, told)) {
    return;
  }
  core::scene again;
  // A reader may find no floats for what parents' huge scales make of a pose.
  if (!gltf::ReadScene(path, {.scale = 40.0}, again, told) &&
      told.fault.find("out of range") == std::string::npos) {
    std::fprintf(stderr, "does not read back: %s\n", told.fault.c_str());
    std::abort();
  }
}
