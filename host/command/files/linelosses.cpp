#include "command/files/linelosses.h"

#include "command/wording.h"

namespace command {

namespace {

constexpr std::int64_t kMostLines = 10;

}  // namespace

void linelosses::Add(int line, const std::string& what) {
  if (++count_ <= kMostLines) {
    first_.push_back("line " + std::to_string(line) + ": " + what);
  }
}

void linelosses::Tell(console& out, const std::string& path) const {
  for (const std::string& text : first_) {
    out.Warning(path, text);
  }
  if (count_ > kMostLines) {
    out.Warning(path, "and " + Counted(count_ - kMostLines, "more line") + ", " +
                          std::to_string(count_) + " in all");
  }
}

}  // namespace command
