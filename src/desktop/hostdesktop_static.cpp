#include "desktop/currentdesktop.h"

// Host and module are one program: a name that the linker does not find is null.
extern "C" __attribute__((weak)) cdesktop* MarrowDesktop(int version, cdesktop* own);

decltype(&MarrowDesktop) FindHostDesktop() { return &MarrowDesktop; }
