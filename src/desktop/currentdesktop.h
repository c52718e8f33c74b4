#pragma once

#include "plugin/platform/desktop.h"

// The host's desktop where the host has one, else the module's own.
cdesktop& CurrentDesktop();

// The desktop that the module brings for its platform.
cdesktop& OwnDesktop();

// The host's MarrowDesktop; null where it has none.
decltype(&MarrowDesktop) FindHostDesktop();
