#include <dlfcn.h>

#include "module/sharedlibrary.h"

namespace module {

void* OpenShared(const std::string& path, std::string& error) {
  // The loader searches for a name without a slash instead of opening it.
  const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
  void* const library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    error = dlerror();
  }
  return library;
}

void* SharedSymbol(void* library, const char* name) { return dlsym(library, name); }

void CloseShared(void* library) { dlclose(library); }

}  // namespace module
