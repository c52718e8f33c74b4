#include "samples/bytes.h"

#include <bit>

void bytewriter::I16(int value) {
  I8(value);
  I8(value >> 8);
}

void bytewriter::I32(std::int64_t value) {
  for (int shift = 0; shift < 32; shift += 8) {
    I8(static_cast<int>((value >> shift) & 0xFF));
  }
}

void bytewriter::F32(float value) { I32(std::bit_cast<std::uint32_t>(value)); }

void bytewriter::F32(std::initializer_list<float> values) {
  for (const float value : values) {
    F32(value);
  }
}

void bytewriter::Name(const std::string& text, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) {
    I8(i < text.size() ? text[i] : 0);
  }
}

void bytewriter::Patch(std::int64_t position, std::int64_t value) {
  for (int i = 0; i < 4; ++i) {
    content_[static_cast<std::size_t>(position + i)] = static_cast<std::uint8_t>(value >> (8 * i));
  }
}

int bytereader::U8(std::size_t position) const {
  return position < content_.size() ? content_[position] : 0;
}

int bytereader::U16(std::size_t position) const { return U8(position) | U8(position + 1) << 8; }
int bytereader::I16(std::size_t position) const {
  return static_cast<std::int16_t>(static_cast<std::uint16_t>(U16(position)));
}

std::int32_t bytereader::I32(std::size_t position) const {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(U16(position)) |
                                   static_cast<std::uint32_t>(U16(position + 2)) << 16);
}

float bytereader::F32(std::size_t position) const { return std::bit_cast<float>(I32(position)); }

std::string bytereader::Field(std::size_t position, std::size_t size) const {
  std::string field;
  for (std::size_t i = 0; i < size; ++i) {
    field.push_back(static_cast<char>(U8(position + i)));
  }
  return field;
}

std::string bytereader::Name(std::size_t position, std::size_t size) const {
  return Field(position, size).c_str();
}
