#pragma once

// Files by their names.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "command/files/formats.h"
#include "sampling/storednames.h"

namespace command {

// The suffix in lower case and without its dot; empty for none.
std::string SuffixOf(const std::string& path);

std::string Folded(std::string_view text);

// Fails unless the file can be read.
void RequireReadable(const std::string& path);

// The path that a handler gets, from the file system's root on: handlers derive the game's
// directory and the names that they store from it.
std::string FullPath(const std::string& path);
// The file that --mdx names for an export: the handler adds ".mdx" where the whole path has no full
// stop. Empty stays empty.
std::string MdxToWrite(const std::string& mdx);

// Bytes that the module takes from the dialogs that ask for an mdx file.
inline constexpr std::size_t kLongestMdxToWrite = 255;
inline constexpr std::size_t kLongestMdxToRead = 511;
// The path that answers such a dialog: from the root on or, where that is too long, from the
// current directory on. Fails, under the name `told`, where both are. Empty stays empty.
std::string MdxForModule(const std::string& told, const std::string& mdx, std::size_t longest);

// The mdx file that belongs to an mdm: the user's, else the one of the same name beside it. Fails
// with the names of those that it could be.
std::string SkeletonOf(const std::string& mdmPath, const std::string& chosen);

// The path with all from its last full stop on replaced.
std::string WithSuffix(const std::string& path, const std::string& suffix);

}  // namespace command
