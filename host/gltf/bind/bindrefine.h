#pragma once

#include <vector>

#include "gltf/bind/bindsums.h"

namespace gltf {

// Moves all joints at once until the sum over the pairs is least. What the vertices leave open
// stays as it is.
void RefineBinds(const std::vector<pairsums>& pairs, std::vector<rigid>& binds);

}  // namespace gltf
