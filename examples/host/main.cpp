// Imports a model into this host's scene and exports the scene again, with the handlers of a module
// and no dialog: the module answers its dialogs with their defaults, and an mdm model finds its mdx
// file by its own name. Usage: smallhost MODULE MODEL FILE

#include <dlfcn.h>

#include <cstdio>

#include "host.h"
#include "plugin/host/handlers.h"

namespace {

template <class Function>
Function* Entry(void* module, const char* name) {
  return reinterpret_cast<Function*>(dlsym(module, name));
}

// The handler of the path's suffix; null where the module has none of the kind.
template <class Handler>
Handler* Find(void* module, int kind, const std::string& path) {
  const auto count = Entry<int()>(module, "LibNumberClasses");
  const auto type = Entry<int(int)>(module, "LibType");
  const auto handler = Entry<void*(int)>(module, "LibClassDesc");
  for (int i = 0; count != nullptr && type != nullptr && handler != nullptr && i < count(); ++i) {
    if (type(i) == kind) {
      auto* const found = static_cast<Handler*>(handler(i));
      if (path.ends_with(std::string(".") + found->Ext(0))) {
        return found;
      }
    }
  }
  return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fputs("usage: smallhost MODULE MODEL FILE\n", stderr);
    return 2;
  }
  void* const module = dlopen(argv[1], RTLD_NOW);
  if (module == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  auto* const importer = Find<cimporthandler>(module, kHandlerImporter, argv[2]);
  auto* const exporter = Find<cexporthandler>(module, kHandlerExporter, argv[3]);
  if (importer == nullptr || exporter == nullptr) {
    std::fputs("the module has no handlers for these files\n", stderr);
    return 1;
  }
  if (importer->Import(argv[2]) != kRunDone) {
    std::fprintf(stderr, "%s: not imported\n", argv[2]);
    return 1;
  }
  std::fputs(Scene().notes.c_str(), stdout);
  const int result = exporter->Export(argv[3]);
  Scene().Clear();
  dlclose(module);
  return result == kRunDone ? 0 : 1;
}
