#include <dlfcn.h>

#include "desktop/currentdesktop.h"

// Among the program, its libraries and those that this module was linked with.
decltype(&MarrowDesktop) FindHostDesktop() {
  return reinterpret_cast<decltype(&MarrowDesktop)>(dlsym(RTLD_DEFAULT, "MarrowDesktop"));
}
