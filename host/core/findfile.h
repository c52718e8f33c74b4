#pragma once

#include <string>

#include "plugin/host/api.h"

namespace core {

// The file that a path of the games means on this disk: separators of either kind, and where the
// exact name is missing, the same letters in another case. Empty when there is no such regular
// file. Of several fitting names the first in byte order is taken.
CORE_API std::string FindFile(const std::string& path);

}  // namespace core
