#include "desktop/currentdesktop.h"

// Host and module are one program: a name that the linker does not find is null.
#pragma weak MarrowDesktop

decltype(&MarrowDesktop) FindHostDesktop() { return &MarrowDesktop; }
