#include "command/wording.h"

namespace command {

std::string Counted(std::int64_t number, const std::string& one) {
  return std::to_string(number) + " " + one + (number == 1 ? "" : "s");
}

std::string Joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : ", ") + name;
  }
  return text;
}

std::string JoinedFew(std::vector<std::string> names) {
  constexpr std::size_t kMost = 4;
  if (names.size() > kMost) {
    const std::size_t more = names.size() - kMost;
    names.resize(kMost);
    names.push_back("and " + std::to_string(more) + " more");
  }
  return Joined(names);
}

}  // namespace command
