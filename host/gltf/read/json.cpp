#include "gltf/read/json.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <nlohmann/json.hpp>
#include <string>
#include <system_error>

#include "gltf/read/badfile.h"

namespace gltf {

namespace {

// Deep nesting must not fill the stack; strings stay where they are. Numbers come as text too: the
// library overflows over some exponents, and counts the bits of zero where others follow it.
constexpr unsigned kHow = rapidjson::kParseIterativeFlag | rapidjson::kParseInsituFlag |
                          rapidjson::kParseNumbersAsStringsFlag;

template <class T>
bool TakesAll(const char* text, const char* end, T& number) {
  const auto [last, fault] = std::from_chars(text, end, number);
  return fault == std::errc() && last == end;
}

// Zeros that end a text: the library takes a character's four bytes before it looks at any.
constexpr std::size_t kEndBytes = 4;

bool IsAscii(const fileview& text) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  const unsigned char* at = text.Data();
  const unsigned char* const end = at + text.Size();
  std::uint64_t bits = 0;
  for (std::uint64_t eight = 0; end - at >= std::ptrdiff_t{sizeof eight}; at += sizeof eight) {
    std::memcpy(&eight, at, sizeof eight);
    bits |= eight;
  }
  return (bits & kHighBits) == 0 && std::all_of(at, end, [](unsigned char c) { return c < 0x80; });
}

// Half of a pair of escapes, which stands for no character and which the library lets pass: its
// bytes begin in a way that no others do.
bool HasHalfPair(const char* text, std::size_t length) {
  constexpr int kLead = 0xED;
  constexpr unsigned char kFirstHalf = 0xA0;
  const char* const end = text + length;
  while (const void* found = std::memchr(text, kLead, static_cast<std::size_t>(end - text))) {
    text = static_cast<const char*>(found) + 1;
    if (text != end && static_cast<unsigned char>(*text) >= kFirstHalf) {
      return true;
    }
  }
  return false;
}

// Passes values on to the document.
struct builder {
  jsonvalues& to;

  bool Null() { return to.Null(); }
  bool Bool(bool value) { return to.Bool(value); }
  bool Int(int value) { return to.Int(value); }
  bool Uint(unsigned value) { return to.Uint(value); }
  bool Int64(std::int64_t value) { return to.Int64(value); }
  bool Uint64(std::uint64_t value) { return to.Uint64(value); }
  bool Double(double value) { return to.Double(value); }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool /*copy*/) {
    const char* const end = text + length;
    if (std::int64_t number = 0; TakesAll(text, end, number)) {
      return to.Int64(number);
    }
    if (std::uint64_t number = 0; TakesAll(text, end, number)) {
      return to.Uint64(number);
    }
#ifdef __cpp_lib_to_chars
    if (double number = 0.0; TakesAll(text, end, number)) {
      return to.Double(number);
    }
#endif
    // Too large, or nearer to zero than a double can be.
    const auto* const bytes = reinterpret_cast<const unsigned char*>(text);
    const nlohmann::json number = nlohmann::json::parse(bytes, bytes + length, nullptr, false);
    return number.is_number() && to.Double(number.get<double>());
  }
  bool String(const char* text, rapidjson::SizeType length, bool copy) {
    return !HasHalfPair(text, length) && to.String(text, length, copy);
  }
  bool StartObject() { return to.StartObject(); }
  bool Key(const char* text, rapidjson::SizeType length, bool copy) {
    return String(text, length, copy);
  }
  bool EndObject(rapidjson::SizeType count) { return to.EndObject(count); }
  bool StartArray() { return to.StartArray(); }
  bool EndArray(rapidjson::SizeType count) { return to.EndArray(count); }
};

template <unsigned Flags>
bool Parse(char* text, jsonvalues& to) {
  bool parsed = false;
  const auto generate = [&](jsonvalues& document) {
    rapidjson::InsituStringStream stream(text);
    rapidjson::GenericReader<rapidjson::UTF8<>, rapidjson::UTF8<>, jsonmemory> reader;
    builder into{document};
    return parsed = !reader.Parse<Flags>(stream, into).IsError();
  };
  to.Populate(generate);
  return parsed;
}

// Of the byte order mark that a text may begin with.
std::size_t MarkBytes(const fileview& text) {
  constexpr unsigned char kMark[] = {0xEF, 0xBB, 0xBF};
  return text.Size() >= std::ssize(kMark) && std::equal(kMark, std::end(kMark), text.Data())
             ? sizeof kMark
             : 0;
}

// The other library tells the byte that is wrong.
[[noreturn]] void Refuse(const fileview& text) {
  try {
    const auto drop = [](int /*depth*/, nlohmann::json::parse_event_t /*event*/,
                         nlohmann::json& /*value*/) { return false; };
    [[maybe_unused]] const nlohmann::json none =
        nlohmann::json::parse(text.Data(), text.Data() + text.Size(), drop);
  } catch (const nlohmann::json::parse_error& error) {
    throw badfile("invalid JSON at byte " + std::to_string(error.byte));
  } catch (const nlohmann::json::exception&) {
    // As what it finds no fault with: a zero with such an exponent.
  }
  throw badfile("invalid JSON: a number is too large");
}

void* Required(void* memory, std::size_t size) {
  if (memory == nullptr && size != 0) {
    throw std::bad_alloc();
  }
  return memory;
}

}  // namespace

void* jsonmemory::Malloc(std::size_t size) {
  return size == 0 ? nullptr : Required(std::malloc(size), size);
}

void* jsonmemory::Realloc(void* old, std::size_t /*oldSize*/, std::size_t size) {
  if (size == 0) {
    std::free(old);
    return nullptr;
  }
  return Required(std::realloc(old, size), size);
}

void jsonmemory::Free(void* memory) { std::free(memory); }

jsontext::jsontext(const fileview& text)
    : copy_(new char[static_cast<std::size_t>(text.Size()) + kEndBytes]) {
  const auto size = static_cast<std::size_t>(text.Size());
  std::copy_n(reinterpret_cast<const char*>(text.Data()), size, copy_.get());
  std::fill_n(copy_.get() + size, kEndBytes, '\0');
  char* const first = copy_.get() + MarkBytes(text);
  if (!(IsAscii(text) ? Parse<kHow>(first, values_)
                      : Parse<kHow | rapidjson::kParseValidateEncodingFlag>(first, values_))) {
    Refuse(text);
  }
}

}  // namespace gltf
