#pragma once

// A look at the disk. The standard library's own way is no substitute: when memory runs out, its
// directory iterator ends the program, and its joined paths release what they never had.

#include <string>
#include <vector>

enum class diskentry { None, File, Directory, Other };

// Follows links.
diskentry EntryAt(const std::string& path);

// The names in a directory but . and .., in the file system's order; none where it cannot be read.
std::vector<std::string> NamesIn(const std::string& directory);
