#pragma once

#include "plugin/platform/desktop.h"

namespace desktop {

// A desktop of the host's programs.
class idesktop : public cdesktop {
 public:
  virtual ~idesktop() = default;
};

// What MarrowDesktop gives to a module. The desktop stays the caller's and outlives its being
// current; null for the module's own.
CORE_API void MakeCurrent(idesktop* current);

// The own desktop of the module that asked last, for a current desktop that passes something on.
CORE_API cdesktop& ModuleDesktop();

}  // namespace desktop
