#pragma once

#include <cstddef>
#include <string>

// Those of the games have some kilobytes.
inline constexpr std::size_t kLargestText = std::size_t{64} << 20;

// The text of a file beside a model, as UTF-8. UTF-16 of either byte order is known by its byte
// order mark; a mark is left out. Where carriage returns alone end the lines, they are replaced
// with line feeds; all other line ends stay as they are. False when it is no plain file, cannot be
// opened, not be read to its end, or is larger than the limit; what came before that is in `text`.
bool LoadText(const char* path, std::string& text);

// The same of bytes in memory.
std::string DecodedText(std::string bytes);
