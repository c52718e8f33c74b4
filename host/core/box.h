#pragma once

#include <vector>

#include "plugin/host/values.h"

namespace core {

// The box of the points; without points it is the origin, and the result false.
CORE_API bool BoxOf(const std::vector<cpoint3>& points, cpoint3& minimum, cpoint3& maximum);

}  // namespace core
