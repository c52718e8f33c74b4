#include "gltf/write/jsonwriter.h"

#include <rapidjson/writer.h>

#include <algorithm>
#include <cmath>

namespace gltf {

namespace {

constexpr std::size_t kIndent = 2;

// What the library writes a number to, which takes 25 characters at most.
struct digits {
  using Ch = char;  // NOLINT(readability-identifier-naming): the library's name
  std::array<char, 32> text;
  std::size_t length = 0;

  void Put(char c) { text[length++] = c; }
  void Flush() {}
};

bool IsPlain(char c) { return c >= ' ' && c != '"' && c != '\\' && c < 0x7F; }

}  // namespace

void jsonwriter::NewLine() {
  if (lines_) {
    text_.append(1, '\n').append(kIndent * depth_, ' ');
  }
}

void jsonwriter::Separate() {
  if (!afterKey_) {
    if (!first_) {
      text_ += ',';
    }
    NewLine();
  }
  afterKey_ = false;
  first_ = false;
}

void jsonwriter::Start(char bracket) {
  Separate();
  text_ += bracket;
  ++depth_;
  first_ = true;
}

void jsonwriter::End(char bracket) {
  --depth_;
  if (!first_) {
    NewLine();
  }
  text_ += bracket;
  first_ = false;
}

void jsonwriter::Key(std::string_view name) {
  Separate();
  text_ += '"';
  text_ += name;
  text_ += '"';
  text_ += ':';
  if (lines_) {
    text_ += ' ';
  }
  afterKey_ = true;
}

void jsonwriter::PutRaw(std::string_view text) {
  Separate();
  text_ += text;
}

void jsonwriter::Put(std::string_view text) {
  if (!std::ranges::all_of(text, IsPlain)) {
    PutRaw(ordered_json(text).dump());
    return;
  }
  Separate();
  text_ += '"';
  text_ += text;
  text_ += '"';
}

// The other library would make a value and a text of each number first.
void jsonwriter::Put(float number) {
  if (!std::isfinite(number)) {
    PutRaw("null");
    return;
  }
  digits made;
  rapidjson::Writer<digits>(made).Double(double{number});
  PutRaw({made.text.data(), made.length});
}

void jsonwriter::Put(const ordered_json& value) {
  Separate();
  const std::string text = value.dump(lines_ ? static_cast<int>(kIndent) : -1);
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    text_.append(text, at, end - at);
    if (end < text.size()) {
      NewLine();
    }
    at = end + 1;
  }
}

}  // namespace gltf
