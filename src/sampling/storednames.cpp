#include "sampling/storednames.h"

#include <algorithm>

namespace {

constexpr std::string_view kForwardFolder = "models/";
constexpr std::string_view kBackwardFolder = "models\\";

char LowerCase(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

}  // namespace

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(), [](char letter) { return LowerCase(letter); });
  return lower;
}

bool EqualsIgnoringCase(std::string_view left, std::string_view right) {
  return std::ranges::equal(left, right,
                            [](char a, char b) { return LowerCase(a) == LowerCase(b); });
}

bool IsTagName(std::string_view name) {
  constexpr std::string_view kPrefix = "tag_";
  return EqualsIgnoringCase(name.substr(0, kPrefix.size()), kPrefix);
}

std::string MakeModelsPath(std::string_view path, bool usemodels) {
  std::string lower = LowerCase(path);
  std::size_t folder = lower.find(kForwardFolder);
  if (folder == std::string::npos) {
    folder = lower.find(kBackwardFolder);
  }
  if (folder != std::string::npos) {
    return lower.substr(folder);
  }
  if (!usemodels) {
    return lower;
  }
  std::size_t separator = lower.rfind('/');
  if (separator == std::string::npos) {
    separator = lower.rfind('\\');
  }
  return std::string(kForwardFolder) +
         (separator == std::string::npos ? lower : lower.substr(separator + 1));
}

std::string GetModelName(std::string_view path) {
  std::size_t separator = path.rfind('/');
  if (separator == std::string_view::npos) {
    separator = path.rfind('\\');
  }
  return separator == std::string_view::npos ? std::string(path)
                                             : LowerCase(path.substr(separator + 1));
}
