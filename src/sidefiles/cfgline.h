#pragma once

#include <functional>
#include <string_view>

// The lines of the text files beside a model.

// Room for a line, its end and a zero.
inline constexpr int kCfgLineSize = 512;

struct cfgline {
  char text[kCfgLineSize] = {};  // with the end that the line has
  int number = 0;                // in the file, from 1
  bool cut = false;              // the rest of a line longer than fits is the next one
};

// The next line of the text that carries content, which is taken off the text. Lines of less than
// two characters and lines that begin with // are passed over. False at the end. `line` is the one
// before, or empty at first.
bool ReadCfgLine(std::string_view& text, cfgline& line);

// Hands every line of the text to `take` until that gives false.
void ReadCfgLines(std::string_view text, const std::function<bool(const cfgline& line)>& take);

// The same for a file. False when it is no plain file, cannot be opened or not be read to its end.
bool ReadCfgFile(const char* path, const std::function<bool(const cfgline& line)>& take);
