#include "command/printable.h"

#include <algorithm>
#include <string_view>

namespace command {

namespace {

// Bytes of the UTF-8 character at the place, 0 where there is none.
std::size_t LetterSize(std::string_view text, std::size_t at) {
  const auto byte = [&](std::size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
  };
  const unsigned head = byte(at);
  const std::size_t size = head < 0x80   ? 1
                           : head < 0xC2 ? 0
                           : head < 0xE0 ? 2
                           : head < 0xF0 ? 3
                           : head < 0xF5 ? 4
                                         : 0;
  for (std::size_t i = 1; i < size; ++i) {
    if ((byte(at + i) & 0xC0U) != 0x80U) {
      return 0;
    }
  }
  return size;
}

bool Steers(std::string_view letter) {
  const auto head = static_cast<unsigned char>(letter[0]);
  return (letter.size() == 1 && (head < ' ' || head == 0x7F) && head != '\n' && head != '\t') ||
         (letter.size() == 2 && head == 0xC2 && static_cast<unsigned char>(letter[1]) < 0xA0);
}

}  // namespace

std::string Printable(const std::string& text) {
  std::string shown;
  shown.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t size = LetterSize(text, at);
    const std::string_view letter = std::string_view(text).substr(at, size);
    shown += size == 0 || Steers(letter) ? "?" : letter;
    at += std::max<std::size_t>(size, 1);
  }
  return shown;
}

}  // namespace command
