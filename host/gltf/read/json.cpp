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

// Deep nesting must not fill the stack. Numbers come as text, since the library makes of zero with
// an exponent whatever a processor's count of a zero's bits is.
constexpr unsigned kHow = rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;

template <class T>
bool TakesAll(const char* text, const char* end, T& number) {
  const auto [last, fault] = std::from_chars(text, end, number);
  return fault == std::errc() && last == end;
}

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
  jsontext& to;

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
bool Parse(const fileview& text, jsontext& to) {
  const auto parse = [&text](jsontext& document) {
    rapidjson::MemoryStream bytes(reinterpret_cast<const char*>(text.Data()),
                                  static_cast<std::size_t>(text.Size()));
    rapidjson::EncodedInputStream<rapidjson::UTF8<>, rapidjson::MemoryStream> stream(bytes);
    rapidjson::GenericReader<rapidjson::UTF8<>, rapidjson::UTF8<>, jsonmemory> reader;
    builder into{document};
    return !reader.Parse<Flags>(stream, into).IsError();
  };
  bool parsed = false;
  const auto generate = [&](jsontext& document) { return parsed = parse(document); };
  to.Populate(generate);
  return parsed;
}

// The other library tells the byte that is wrong.
[[noreturn]] void Refuse(const fileview& text) {
  std::size_t byte = 0;
  try {
    const auto drop = [](int /*depth*/, nlohmann::json::parse_event_t /*event*/,
                         nlohmann::json& /*value*/) { return false; };
    [[maybe_unused]] const nlohmann::json none =
        nlohmann::json::parse(text.Data(), text.Data() + text.Size(), drop);
  } catch (const nlohmann::json::parse_error& error) {
    byte = error.byte;
  } catch (const nlohmann::json::exception&) {
    throw badfile("invalid JSON: a number is too large");
  }
  throw badfile("invalid JSON at byte " + std::to_string(byte));
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

jsontext ParseJson(const fileview& text) {
  jsontext made;
  if (!(IsAscii(text) ? Parse<kHow>(text, made)
                      : Parse<kHow | rapidjson::kParseValidateEncodingFlag>(text, made))) {
    Refuse(text);
  }
  return made;
}

}  // namespace gltf
