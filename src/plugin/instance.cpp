#include "plugin/instance.h"

#if defined(_WIN32)
#include <windows.h>
#endif

void* moduleinstance = nullptr;

#if defined(_WIN32)
// The module entry. It does not tell the notifications apart.
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD /*reason*/, LPVOID /*reserved*/) {
  moduleinstance = instance;
  return TRUE;
}
#endif
