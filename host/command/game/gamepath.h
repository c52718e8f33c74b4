#pragma once

// Paths as the games write them: forward slashes, from a folder such as models/ on.

#include <string>
#include <string_view>
#include <vector>

namespace command {

std::string Slashed(std::string path);
// The path from its last folder models on, in any case of letters, with forward slashes; the whole
// path where it has no such folder. "mymodels/a" has none.
std::string GamePath(const std::string& path);
// The folders above each of the path's folders models, the innermost first.
std::vector<std::string> FoldersAboveModels(const std::string& path);
// The same, or where the path has no such folder its own directory.
std::vector<std::string> GameFoldersOf(const std::string& path);

// Behind the last separator.
std::string LastName(const std::string& path);
// Without the suffix of an image; another suffix stays.
std::string WithoutImageSuffix(const std::string& path);
bool HasImageSuffix(const std::string& path);
// Whether the path stays below the folder that it is added to.
bool StaysBelow(const std::string& path);

// The names under which games look for an image: its own, then with each suffix of an image.
std::vector<std::string> ImageNames(const std::string& path);

// Whether a shader names nothing: empty, or what stands for "no image".
bool NamesNothing(const std::string& shader);

}  // namespace command
