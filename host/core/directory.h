#pragma once

#include <string>
#include <vector>

namespace core {

// The names in a directory but . and .., in the file system's order; none where it cannot be read.
// The standard library's iterator is no substitute: it ends the program when memory runs out.
std::vector<std::string> NamesIn(const std::string& directory);

}  // namespace core
