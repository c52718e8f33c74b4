#include <windows.h>

#include "desktop/currentdesktop.h"
#include "plugin/host/scene.h"

// In the library that the host's operations come from, whatever its name.
decltype(&MarrowDesktop) FindHostDesktop() {
  HMODULE library = nullptr;
  GetModuleHandleExA(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<const char*>(&MyAssertFailedLine), &library);
  return library == nullptr ? nullptr
                            : reinterpret_cast<decltype(&MarrowDesktop)>(reinterpret_cast<void*>(
                                  GetProcAddress(library, "MarrowDesktop")));
}
