#include "core/decode.h"

#include <algorithm>
#include <climits>

#include "core/stbimage.h"

namespace core {

namespace {

struct decodedfree {
  void operator()(stbi_uc* pixels) const { stbi_image_free(pixels); }
};

bool StartsWith(const std::vector<std::uint8_t>& file, std::initializer_list<std::uint8_t> mark) {
  return file.size() >= mark.size() && std::equal(mark.begin(), mark.end(), file.begin());
}

// Empty for a file that no scene file takes unchanged.
const char* MimeTypeOf(const std::vector<std::uint8_t>& file) {
  if (StartsWith(file, {0xFF, 0xD8, 0xFF})) {
    return "image/jpeg";
  }
  return StartsWith(file, {0x89, 'P', 'N', 'G'}) ? "image/png" : "";
}

// The size that the file's header tells; false when it is no image, or too large a one.
bool ReadHeader(const std::vector<std::uint8_t>& file, pixels& into) {
  int channels = 0;
  return !file.empty() && file.size() <= INT_MAX &&
         stbi_info_from_memory(file.data(), static_cast<int>(file.size()), &into.width,
                               &into.height, &channels) != 0 &&
         into.width > 0 && into.height > 0 && std::int64_t{into.width} * into.height <= kMostPixels;
}

}  // namespace

std::shared_ptr<const pixels> DecodeImage(std::vector<std::uint8_t> file) {
  auto made = std::make_shared<pixels>();
  if (!ReadHeader(file, *made)) {
    return nullptr;
  }
  int channels = 0;
  const std::unique_ptr<stbi_uc, decodedfree> decoded(
      stbi_load_from_memory(file.data(), static_cast<int>(file.size()), &made->width, &made->height,
                            &channels, STBI_rgb_alpha));
  if (!decoded) {
    return nullptr;
  }
  made->rgba.assign(decoded.get(), decoded.get() + std::size_t{4} *
                                                       static_cast<std::size_t>(made->width) *
                                                       static_cast<std::size_t>(made->height));
  made->mimeType = MimeTypeOf(file);
  if (!made->mimeType.empty()) {
    made->encoded = std::move(file);
  }
  return made;
}

std::shared_ptr<const pixels> KeepImage(std::vector<std::uint8_t> file) {
  auto made = std::make_shared<pixels>();
  made->mimeType = MimeTypeOf(file);
  if (made->mimeType.empty() || !ReadHeader(file, *made)) {
    return nullptr;
  }
  made->encoded = std::move(file);
  return made;
}

std::vector<std::uint8_t> OpaqueRgb(const pixels& image) {
  std::vector<std::uint8_t> rgb;
  rgb.reserve(image.rgba.size() / 4 * 3);
  for (std::size_t i = 0; i + 3 < image.rgba.size(); i += 4) {
    if (image.rgba[i + 3] != 255) {
      return {};
    }
    rgb.insert(rgb.end(), {image.rgba[i], image.rgba[i + 1], image.rgba[i + 2]});
  }
  return rgb;
}

}  // namespace core
