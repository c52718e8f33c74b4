#include "sidefiles/cfgline.h"

#include <cstring>
#include <memory>

#include "binary/directory.h"

bool ReadCfgLine(char* line, int size, std::FILE* stream) {
  do {
    line[0] = '\0';
    if (std::feof(stream) != 0) {
      return false;
    }
    if (std::fgets(line, size, stream) == nullptr) {
      line[0] = '\0';
      return std::feof(stream) == 0;
    }
  } while (std::strlen(line) < 2 || std::strncmp(line, "//", 2) == 0);
  return false;
}

void ReadCfgLines(std::FILE* stream, const std::function<bool(const char* line)>& take) {
  char line[kCfgLineSize];
  bool failed = false;
  do {
    failed = ReadCfgLine(line, kCfgLineSize, stream);
  } while (take(line) && !failed && std::feof(stream) == 0);
}

bool ReadCfgFile(const char* path, const std::function<bool(const char* line)>& take) {
  if (EntryAt(path) != diskentry::File) {
    return false;  // a pipe or a device may have no end
  }
  const auto close = [](std::FILE* stream) { std::fclose(stream); };
  const std::unique_ptr<std::FILE, decltype(close)> stream(std::fopen(path, "rt"), close);
  if (!stream) {
    return false;
  }
  ReadCfgLines(stream.get(), take);
  return std::ferror(stream.get()) == 0;
}
