#pragma once

#include <array>
#include <cstddef>
#include <cstring>

// A name of a model file: zero-terminated, the rest of the field zero. A longer text is cut.
template <std::size_t Size>
using namefield = std::array<char, Size>;

template <std::size_t Size>
void SetName(namefield<Size>& field, const char* text) {
  field.fill('\0');
  for (std::size_t i = 0; i + 1 < Size && text[i] != '\0'; ++i) {
    field[i] = text[i];
  }
}

// The name in a record from a file, with a terminator even where the file has none.
template <std::size_t Size>
std::array<char, Size + 1> NameText(const namefield<Size>& field) {
  std::array<char, Size + 1> text{};
  std::memcpy(text.data(), field.data(), Size);
  return text;
}
