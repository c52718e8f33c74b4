#pragma once

// Files by their names.

#include <cstdint>
#include <string>
#include <vector>

namespace command {

enum class filekind { Other, Scene, Mdc, Mds, Mdm, Mdx };

// By the suffix, in any case of letters.
filekind KindOf(const std::string& path);
// "an mds model", "a glTF scene".
std::string KindText(filekind kind);
bool IsSkeletal(filekind kind);

// The suffix in lower case and without its dot; empty for none.
std::string SuffixOf(const std::string& path);

std::string Folded(std::string text);
// Whether a node of this name is a tag.
bool IsTagName(const std::string& name);

// Fails unless the file can be read.
void RequireReadable(const std::string& path);

// The path that an importer gets for a model. It wants one that leads through the game's models
// folder, with something before it, since it derives the game's directory and that of the files
// beside the model from it: the user's own where it does, else the absolute path.
std::string ImportPath(const std::string& path);
// Whether the path leads through a models folder, without which an importer reads no .skin file.
bool HasModelsFolder(const std::string& path);

// The mdx file that belongs to an mdm: the user's, else the one of the same name beside it. Fails
// with the names of those that it could be.
std::string SkeletonOf(const std::string& mdmPath, const std::string& chosen);

// The path with all from its last full stop on replaced.
std::string WithSuffix(const std::string& path, const std::string& suffix);

}  // namespace command
