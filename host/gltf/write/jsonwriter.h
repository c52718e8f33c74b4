#pragma once

#include <array>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <limits>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace gltf {

using nlohmann::ordered_json;

// A JSON text that is written from its beginning on, as the library writes the values that it holds
// in memory: all on one line, or each member and entry on one of its own. For lists that are too
// long to be held.
class jsonwriter {
 public:
  // The text is to stand within `depth` objects and arrays.
  explicit jsonwriter(bool lines, std::size_t depth = 0) : lines_(lines), depth_(depth) {}

  void StartObject() { Start('{'); }
  void EndObject() { End('}'); }
  void StartArray() { Start('['); }
  void EndArray() { End(']'); }
  // A name that needs no escapes.
  void Key(std::string_view name);

  void Put(std::string_view text);
  void Put(const std::string& text) { Put(std::string_view(text)); }
  void Put(const char* text) { Put(std::string_view(text)); }
  void Put(bool value) { PutRaw(value ? "true" : "false"); }
  void Put(std::integral auto number) {
    std::array<char, std::numeric_limits<decltype(number)>::digits10 + 3> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    PutRaw({digits.data(), static_cast<std::size_t>(end - digits.data())});
  }
  void Put(float number);
  void Put(const ordered_json& value);
  template <class T>
  void Put(std::span<const T> list) {
    StartArray();
    for (const T& each : list) {
      Put(each);
    }
    EndArray();
  }
  // What another writer has made for this place.
  void PutRaw(std::string_view text);

  template <class T>
  void Member(std::string_view name, const T& value) {
    Key(name);
    Put(value);
  }

  const std::string& Text() const { return text_; }
  std::string Take() { return std::move(text_); }

 private:
  void Start(char bracket);
  void End(char bracket);
  void Separate();
  void NewLine();

  bool lines_;
  std::size_t depth_;
  bool first_ = true;     // of its object or array
  bool afterKey_ = true;  // as the outermost value stands
  std::string text_;
};

}  // namespace gltf
