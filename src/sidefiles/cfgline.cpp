#include "sidefiles/cfgline.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "sidefiles/textfile.h"

bool ReadCfgLine(std::string_view& text, cfgline& line) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
    const std::size_t length = std::min<std::size_t>(end, kCfgLineSize - 1);
    line.number += line.cut ? 0 : 1;
    line.cut = length < end;
    std::memcpy(line.text, text.data(), length);
    line.text[length] = '\0';
    text.remove_prefix(length);
    if (std::strlen(line.text) >= 2 && std::strncmp(line.text, "//", 2) != 0) {
      return true;
    }
  }
  return false;
}

void ReadCfgLines(std::string_view text, const std::function<bool(const cfgline& line)>& take) {
  cfgline line;
  while (ReadCfgLine(text, line) && take(line)) {
  }
}

bool ReadCfgFile(const char* path, const std::function<bool(const cfgline& line)>& take) {
  std::string text;
  const bool whole = LoadText(path, text);
  ReadCfgLines(text, take);
  return whole;
}
