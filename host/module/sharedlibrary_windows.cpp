#include <windows.h>

#include <algorithm>
#include <system_error>

#include "module/sharedlibrary.h"

namespace module {

void* OpenShared(const std::string& path, std::string& error) {
  // The loader searches for a name without a backslash instead of opening it.
  std::string name = path;
  std::ranges::replace(name, '/', '\\');
  if (name.find_first_of("\\:") == std::string::npos) {
    name.insert(0, ".\\");
  }
  HMODULE const library = LoadLibraryA(name.c_str());
  if (library == nullptr) {
    error = std::system_category().message(static_cast<int>(GetLastError()));
  }
  return library;
}

void* SharedSymbol(void* library, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

void CloseShared(void* library) { FreeLibrary(static_cast<HMODULE>(library)); }

}  // namespace module
