#include "sidefiles/textfile.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <utility>

#include "binary/directory.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;  // for half of a surrogate pair

void AppendUtf8(std::string& text, char32_t character) {
  const auto add = [&](char32_t byte) { text.push_back(static_cast<char>(byte)); };
  const auto continuation = [&](unsigned shift) { add(0x80U | ((character >> shift) & 0x3FU)); };
  if (character < 0x80U) {
    add(character);
  } else if (character < 0x800U) {
    add(0xC0U | (character >> 6U));
    continuation(0);
  } else if (character < 0x10000U) {
    add(0xE0U | (character >> 12U));
    continuation(6);
    continuation(0);
  } else {
    add(0xF0U | (character >> 18U));
    continuation(12);
    continuation(6);
    continuation(0);
  }
}

// Behind the mark; `low` is the place of a unit's low byte.
std::string FromUtf16(const std::string& bytes, std::size_t low) {
  const std::size_t units = bytes.size() / 2;
  const auto unit = [&](std::size_t i) -> char32_t {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(bytes[2 * i + at]); };
    return static_cast<char32_t>(byte(low) | (byte(1 - low) << 8U));
  };
  std::string text;
  for (std::size_t i = 1; i < units; ++i) {
    char32_t character = unit(i);
    if (character >= 0xD800U && character < 0xE000U) {
      const char32_t next = i + 1 < units ? unit(i + 1) : 0;
      const bool pair = character < 0xDC00U && next >= 0xDC00U && next < 0xE000U;
      character =
          pair ? 0x10000U + ((character - 0xD800U) << 10U) + (next - 0xDC00U) : kReplacement;
      i += pair ? 1 : 0;
    }
    AppendUtf8(text, character);
  }
  return text;
}

bool BeginsWith(const std::string& bytes, const char* mark) { return bytes.rfind(mark, 0) == 0; }

}  // namespace

std::string DecodedText(std::string bytes) {
  if (BeginsWith(bytes, "\xFF\xFE")) {
    bytes = FromUtf16(bytes, 0);
  } else if (BeginsWith(bytes, "\xFE\xFF")) {
    bytes = FromUtf16(bytes, 1);
  } else if (BeginsWith(bytes, "\xEF\xBB\xBF")) {
    bytes.erase(0, 3);
  }
  if (bytes.find('\n') == std::string::npos) {
    std::replace(bytes.begin(), bytes.end(), '\r', '\n');
  }
  return bytes;
}

bool LoadText(const char* path, std::string& text) {
  text.clear();
  if (EntryAt(path) != diskentry::File) {
    return false;  // a pipe or a device may have no end
  }
  const auto close = [](std::FILE* stream) { std::fclose(stream); };
  const std::unique_ptr<std::FILE, decltype(close)> stream(std::fopen(path, "rb"), close);
  if (!stream) {
    return false;
  }
  std::array<char, 16384> block{};
  bool fits = true;
  while (const std::size_t size = std::fread(block.data(), 1, block.size(), stream.get())) {
    fits = text.size() + size <= kLargestText;
    if (!fits) {
      break;
    }
    text.append(block.data(), size);
  }
  text = DecodedText(std::move(text));
  return fits && std::ferror(stream.get()) == 0;
}
