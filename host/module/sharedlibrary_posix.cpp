#include <dlfcn.h>

#include "module/sharedlibrary.h"

namespace module {

void* OpenShared(const std::string& path, std::string& error) {
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    error = dlerror();
  }
  return library;
}

void* SharedSymbol(void* library, const char* name) { return dlsym(library, name); }

void CloseShared(void* library) { dlclose(library); }

}  // namespace module
