#pragma once

#include <cstddef>
#include <string_view>

#include "sampling/storednames.h"

namespace wildcard {

// The byte behind the character of UTF-8 that begins there.
inline std::size_t BehindCharacter(std::string_view text, std::size_t at) {
  do {
    ++at;
  } while (at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U);
  return at;
}

// * stands for any text, ? for one character; the case of Latin letters does not count. Going back
// to the last * alone is enough.
inline bool Matches(std::string_view pattern, std::string_view name) {
  std::size_t p = 0;
  std::size_t n = 0;
  std::size_t star = std::string_view::npos;
  std::size_t mark = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      mark = n;
    } else if (p < pattern.size() && pattern[p] == '?') {
      ++p;
      n = BehindCharacter(name, n);
    } else if (p < pattern.size() && EqualsIgnoringCase(pattern.substr(p, 1), name.substr(n, 1))) {
      ++p;
      ++n;
    } else if (star != std::string_view::npos) {
      p = star + 1;
      n = mark = BehindCharacter(name, mark);
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

}  // namespace wildcard
