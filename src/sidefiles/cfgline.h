#pragma once

#include <cstdio>
#include <functional>

// The lines of the text files beside a model.

// Room for a line, its end and a zero.
inline constexpr int kCfgLineSize = 512;

// The next line that carries content, with the end that it has; a longer line than fits comes in
// pieces. Lines of less than two characters and lines that begin with // are passed over. At the
// end of the stream the line is empty. True only on a read error.
bool ReadCfgLine(char* line, int size, std::FILE* stream);

// Hands every line of the stream to `take` until that gives false. The last call, at the end of
// the stream, may be with an empty line.
void ReadCfgLines(std::FILE* stream, const std::function<bool(const char* line)>& take);

// The same for a file. False when it is no plain file, cannot be opened or not be read to its end.
bool ReadCfgFile(const char* path, const std::function<bool(const char* line)>& take);
