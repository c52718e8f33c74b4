#pragma once

#include <functional>
#include <vector>

#include "plugin/host/nodes.h"

namespace core {

// Chooses one of the nodes that a module offers for picking, or none (null).
using picker = std::function<cnode*(const std::vector<cnode*>& candidates, const char* title,
                                    const char* button)>;

// The picker behind Interface::PickFromList. Without one nothing is ever picked.
CORE_API void SetPicker(picker choose);

}  // namespace core
