#pragma once

#include "core/picker.h"

namespace desktop {

// A window with the nodes' names, in their order, and a button with the given text. For
// core::SetPicker.
CORE_API cnode* PickFromWindow(const std::vector<cnode*>& candidates, const char* title,
                               const char* button);

}  // namespace desktop
