#pragma once

#include <algorithm>
#include <cctype>
#include <string_view>

namespace core {

// Whether a node of the name is a tag, as the games name them, in any case of letters.
inline bool IsTagName(std::string_view name) {
  constexpr std::string_view kStart = "tag_";
  return name.size() >= kStart.size() &&
         std::equal(kStart.begin(), kStart.end(), name.begin(), [](char a, char b) {
           return a == static_cast<char>(std::tolower(static_cast<unsigned char>(b)));
         });
}

}  // namespace core
