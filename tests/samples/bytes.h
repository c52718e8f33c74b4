#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

using bytes = std::vector<std::uint8_t>;

// Writes a file byte by byte, little-endian, without the records of the product: what a test
// builds with it tells whether those are right.
class bytewriter {
 public:
  void I8(int value) { content_.push_back(static_cast<std::uint8_t>(value)); }
  void I16(int value);
  void I32(std::int64_t value);
  void F32(float value);
  void F32(std::initializer_list<float> values);
  // The text, zero-filled up to the size of the field.
  void Name(const std::string& text, std::size_t size);

  std::int64_t Position() const { return static_cast<std::int64_t>(content_.size()); }
  // Writes a 32-bit number over what stands there.
  void Patch(std::int64_t position, std::int64_t value);

  const bytes& Content() const { return content_; }

 private:
  bytes content_;
};

// Reads a file at absolute positions. Past its end everything is 0.
class bytereader {
 public:
  explicit bytereader(bytes content) : content_(std::move(content)) {}

  std::size_t Size() const { return content_.size(); }
  int U8(std::size_t position) const;
  int I16(std::size_t position) const;
  int U16(std::size_t position) const;
  std::int32_t I32(std::size_t position) const;
  float F32(std::size_t position) const;
  // The whole field, with the zeros behind the text.
  std::string Field(std::size_t position, std::size_t size) const;
  // The text of a field, up to its first zero.
  std::string Name(std::size_t position, std::size_t size = 64) const;

 private:
  bytes content_;
};
