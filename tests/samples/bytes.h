#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using bytes = std::vector<std::uint8_t>;

static_assert(std::endian::native == std::endian::little, "numbers stand in files as in memory");

// Writes a 32-bit number over what stands there.
inline void Patch(bytes& content, std::integral auto position, std::int64_t value) {
  std::memcpy(&content.at(static_cast<std::size_t>(position)), &value, 4);
}

// Writes a file number by number, without the records of the product: what a test builds with it
// tells whether those are right. Numbers come alone or in lists of any depth.
class bytewriter {
 public:
  void I8(const auto& values) { Put<std::int8_t>(values); }
  void I16(const auto& values) { Put<std::int16_t>(values); }
  void I32(const auto& values) { Put<std::int32_t>(values); }
  void I32(std::initializer_list<std::int64_t> values) { Put<std::int32_t>(values); }
  void F32(const auto& values) { Put<float>(values); }
  void F32(std::initializer_list<float> values) { Put<float>(values); }
  // The text, zero-filled up to the size of the field.
  void Name(std::string text, std::size_t size) {
    text.resize(size);
    I8(text);
  }

  std::int64_t Position() const { return std::ssize(content_); }
  void Patch(std::int64_t position, std::int64_t value) { ::Patch(content_, position, value); }

  const bytes& Content() const { return content_; }

 private:
  template <class Number, class Value>
  void Put(const Value& value) {
    if constexpr (std::is_arithmetic_v<Value>) {
      const auto raw =
          std::bit_cast<std::array<std::uint8_t, sizeof(Number)>>(static_cast<Number>(value));
      content_.insert(content_.end(), raw.begin(), raw.end());
    } else {
      for (const auto& each : value) {
        Put<Number>(each);
      }
    }
  }

  bytes content_;
};

// Reads a file at absolute positions. Past its end everything is 0.
class bytereader {
 public:
  explicit bytereader(bytes content) : content_(std::move(content)) {}

  std::int32_t I32(std::size_t position) const { return At<std::int32_t>(position); }
  float F32(std::size_t position) const { return At<float>(position); }
  // The text of a field of 64 bytes, up to its first zero.
  std::string Name(std::size_t position) const {
    auto field = At<std::array<char, 65>>(position);
    field.back() = '\0';
    return field.data();
  }

 private:
  template <class Number>
  Number At(std::size_t position) const {
    Number number{};
    if (position < content_.size()) {
      std::memcpy(&number, &content_[position],
                  std::min(sizeof number, content_.size() - position));
    }
    return number;
  }

  bytes content_;
};
