#pragma once

#include <string>
#include <string_view>

// Names and paths as the model files store them. Folding to lower case touches A to Z alone.

std::string LowerCase(std::string_view text);
bool EqualsIgnoringCase(std::string_view left, std::string_view right);

// Whether a node of this name is a tag: its lower-cased name begins with "tag_".
bool IsTagName(std::string_view name);

// The stored form of a path, in lower case: from the first "models/" (failing that "models\") to
// the end, separators as they stand. Without such a folder: "models/" and the file name when
// usemodels is set, else the whole path.
std::string MakeModelsPath(std::string_view path, bool usemodels);

// The stored form of an image path in the skeletal formats, which always have the folder.
inline std::string MakeShaderName(std::string_view path) { return MakeModelsPath(path, true); }

// The name in a skeletal file's header: the lower-cased file name of a path with a directory, and
// a path without one as it is.
std::string GetModelName(std::string_view path);
