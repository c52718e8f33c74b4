#include "gltf/write/utf8.h"

#include <cstddef>
#include <cstdint>

namespace gltf {

namespace {

// Length of the sequence that begins at the place; 0 when it is none: broken, longer than it need
// be, or a number that stands for no character.
std::size_t SequenceAt(const std::string& text, std::size_t at) {
  const auto byte = [&text](std::size_t i) {
    return i < text.size() ? static_cast<std::uint8_t>(text[i]) : std::uint8_t{0};
  };
  const std::uint8_t lead = byte(at);
  if (lead < 0x80) {
    return 1;
  }
  const std::size_t length = lead < 0xC2   ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                             : lead < 0xF5 ? 4
                                           : 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(at + i) & 0xC0) != 0x80) {
      return 0;
    }
  }
  const std::uint8_t second = byte(at + 1);
  const bool tooLong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
  const bool noCharacter = (lead == 0xED && second >= 0xA0) || (lead == 0xF4 && second >= 0x90);
  return tooLong || noCharacter ? 0 : length;
}

bool IsUtf8(const std::string& text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = SequenceAt(text, at);
    if (length == 0) {
      return false;
    }
    at += length;
  }
  return true;
}

}  // namespace

std::string ToUtf8(const std::string& text) {
  if (IsUtf8(text)) {
    return text;
  }
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<std::uint8_t>(c);
    if (byte < 0x80) {
      result += c;
    } else {
      result += static_cast<char>(0xC0 | (byte >> 6));
      result += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return result;
}

}  // namespace gltf
