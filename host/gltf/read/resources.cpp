#include "gltf/read/resources.h"

#include <array>
#include <filesystem>

#include "core/utf8path.h"
#include "gltf/read/badfile.h"
#include "gltf/read/compressed/decompress.h"

namespace gltf {

namespace {

constexpr char kDataScheme[] = "data:";
constexpr char kBase64[] = ";base64,";

int HexDigit(char c) {
  if (c >= '0' && c <= '9') {
    return c - '0';
  }
  if (c >= 'a' && c <= 'f') {
    return c - 'a' + 10;
  }
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

constexpr std::uint8_t kNoDigit = 0xFF;

std::array<std::uint8_t, 256> Base64Values() {
  std::array<std::uint8_t, 256> values;
  values.fill(kNoDigit);
  std::uint8_t next = 0;
  for (const char c :
       std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")) {
    values[static_cast<unsigned char>(c)] = next++;
  }
  return values;
}

// false: the text has other characters than those of base64.
bool DecodeBase64(std::string_view text, std::vector<std::uint8_t>& decoded) {
  static const std::array<std::uint8_t, 256> kValues = Base64Values();
  while (!text.empty() && text.back() == '=') {
    text.remove_suffix(1);
  }
  decoded.reserve(text.size() / 4 * 3 + 3);
  std::uint32_t bits = 0;
  int count = 0;
  for (const char c : text) {
    const std::uint8_t value = kValues[static_cast<unsigned char>(c)];
    if (value == kNoDigit) {
      return false;
    }
    bits = (bits << 6) | value;
    count += 6;
    if (count >= 8) {
      count -= 8;
      decoded.push_back(static_cast<std::uint8_t>(bits >> count));
    }
  }
  return true;
}

bool DecodeDataUri(const std::string& uri, std::vector<std::uint8_t>& decoded) {
  const std::size_t mark = uri.find(kBase64);
  return mark != std::string::npos &&
         DecodeBase64(std::string_view(uri).substr(mark + sizeof(kBase64) - 1), decoded);
}

bool LeadsOutside(const std::string& name) {
  const std::filesystem::path path = core::PathOf(name).lexically_normal();
  return !path.empty() && *path.begin() == "..";
}

// The file that a URI names beside the document; empty when it names none there.
std::string FileBeside(const std::string& uri, const surroundings& around) {
  const std::string name = WithoutEscapes(uri);
  if (name.empty() || name.find('\0') != std::string::npos || name.find(':') != std::string::npos ||
      name.front() == '/' || name.front() == '\\' || (LeadsOutside(name) && !around.allowOutside)) {
    return {};
  }
  return (core::PathOf(around.path).parent_path() / core::PathOf(name)).string();
}

// What is no plain file could keep a reader waiting for ever.
bool LoadBeside(const std::string& uri, const surroundings& around, loadedfile& file) {
  const std::string name = FileBeside(uri, around);
  std::error_code error;
  return !name.empty() && std::filesystem::is_regular_file(core::PathOf(name), error) &&
         LoadWholeFile(name.c_str(), file);
}

}  // namespace

bool IsDataUri(const std::string& uri) {
  return uri.compare(0, sizeof(kDataScheme) - 1, kDataScheme) == 0;
}

std::string WithoutEscapes(const std::string& uri) {
  std::string text;
  text.reserve(uri.size());
  for (std::size_t i = 0; i < uri.size(); ++i) {
    const int high = uri[i] == '%' && i + 2 < uri.size() ? HexDigit(uri[i + 1]) : -1;
    const int low = high < 0 ? -1 : HexDigit(uri[i + 2]);
    if (low < 0) {
      text.push_back(uri[i]);
    } else {
      text.push_back(static_cast<char>(high * 16 + low));
      i += 2;
    }
  }
  return text;
}

std::string WhyOutside(const std::string& uri, const surroundings& around) {
  const std::string name = WithoutEscapes(uri);
  return around.allowOutside || IsDataUri(uri) || !LeadsOutside(name)
             ? std::string()
             : name + " does not lie in the file's folder: --allow-outside reads it";
}

void LoadBuffers(document& doc, const surroundings& around) {
  for (std::size_t i = 0; i < doc.buffers.size(); ++i) {
    filebuffer& buffer = doc.buffers[i];
    const std::string place = "buffer " + std::to_string(i) + ": ";
    if (buffer.isFallback && (buffer.uri.empty() || ReadsCompression())) {
      // Its content need not be there: only views that have a compressed form may lie in it.
      buffer.length = 0;
    } else if (buffer.uri.empty()) {
      // Only the first buffer may be the binary chunk; another has no content of its own, and
      // whatever needs it is found to reach past its end.
      buffer.content = i == 0 ? doc.binary : fileview();
    } else if (IsDataUri(buffer.uri)) {
      if (!DecodeDataUri(buffer.uri, buffer.decoded)) {
        throw badfile(place + "its data URI is not base64");
      }
      buffer.content = {buffer.decoded.data(), buffer.decoded.size()};
      buffer.uri.clear();
    } else if (LoadBeside(buffer.uri, around, buffer.file)) {
      buffer.content = buffer.file.View();
    } else {
      const std::string outside = WhyOutside(buffer.uri, around);
      throw badfile(place +
                    (outside.empty() ? "cannot read " + WithoutEscapes(buffer.uri) : outside));
    }
    if (buffer.content.Size() < buffer.length) {
      throw badfile(place + "has " + std::to_string(buffer.content.Size()) + " of " +
                    std::to_string(buffer.length) + " bytes");
    }
  }
}

fileview ViewOf(const document& doc, int view, const std::string& place) {
  const bufferview& from = doc.views[static_cast<std::size_t>(view)];
  const filebuffer& buffer = doc.buffers[static_cast<std::size_t>(from.buffer)];
  if (from.offset + from.length > buffer.length) {
    throw badfile(place + ": buffer view " + std::to_string(view) + " reaches past buffer " +
                  std::to_string(from.buffer));
  }
  return {buffer.content.Data() + from.offset, static_cast<std::size_t>(from.length)};
}

std::vector<std::uint8_t> ImageBytes(const document& doc, int image, const surroundings& around) {
  const gltf::image& from = doc.images[static_cast<std::size_t>(image)];
  if (from.view >= 0) {
    const fileview view = ViewOf(doc, from.view, "image " + std::to_string(image));
    return {view.Data(), view.Data() + view.Size()};
  }
  std::vector<std::uint8_t> content;
  loadedfile file;
  if (IsDataUri(from.uri)) {
    if (!DecodeDataUri(from.uri, content)) {
      content.clear();
    }
  } else if (LoadBeside(from.uri, around, file)) {
    content.assign(file.data.get(), file.data.get() + file.size);
  }
  return content;
}

}  // namespace gltf
