#include "core/decode.h"

#include <algorithm>
#include <climits>
#include <string_view>

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

// Pixels that a byte of a file can hold at most. Deflate makes 1032 bytes of one, here of pixels of
// one bit. A JPEG has at least a bit for each block of 8 x 8 of its first component, which has up
// to 16 times as many pixels as the coarsest.
constexpr std::int64_t kMostPngPixels = std::int64_t{1032} * 8;
constexpr std::int64_t kMostJpegPixels = std::int64_t{8} * 64;

// Bytes that a TGA's pixels take at least, by its header.
std::int64_t LeastTgaBytes(const std::vector<std::uint8_t>& file, std::int64_t numPixels) {
  constexpr std::size_t kType = 2;
  constexpr std::size_t kDepth = 16;
  constexpr int kRunLengths = 8;  // added to the type
  constexpr int kLongestRun = 128;
  if (file.size() <= kDepth) {
    return numPixels;
  }
  const std::int64_t pixel = (file[kDepth] + 7) / 8;
  return file[kType] < kRunLengths ? numPixels * pixel : numPixels / kLongestRun * (1 + pixel);
}

// Whether the file is long enough for the image that its header tells of.
bool CanHold(const std::vector<std::uint8_t>& file, const pixels& image) {
  const std::int64_t numPixels = std::int64_t{image.width} * image.height;
  const std::string_view type = MimeTypeOf(file);
  if (type.empty()) {
    return LeastTgaBytes(file, numPixels) <= std::ssize(file);
  }
  return numPixels / (type == "image/png" ? kMostPngPixels : kMostJpegPixels) <= std::ssize(file);
}

// What the decoder holds at once at most: all of the file, twice where it grows, or the image with
// four channels of 16 bits, twice.
std::size_t LargestBlock(const std::vector<std::uint8_t>& file, const pixels& image) {
  constexpr std::size_t kTables = std::size_t{1} << 20;
  return kTables + 2 * file.size() +
         std::size_t{16} * static_cast<std::size_t>(image.width) *
             static_cast<std::size_t>(image.height);
}

// The size that the file's header tells; false when it is no image, or too large a one.
bool ReadHeader(const std::vector<std::uint8_t>& file, pixels& into) {
  int channels = 0;
  LimitImageBlocks(LargestBlock(file, {}));
  return !file.empty() && file.size() <= INT_MAX &&
         stbi_info_from_memory(file.data(), static_cast<int>(file.size()), &into.width,
                               &into.height, &channels) != 0 &&
         into.width > 0 && into.height > 0 &&
         std::int64_t{into.width} * into.height <= kMostPixels && CanHold(file, into);
}

}  // namespace

std::shared_ptr<const pixels> DecodeImage(std::vector<std::uint8_t> file) {
  auto made = std::make_shared<pixels>();
  if (!ReadHeader(file, *made)) {
    return nullptr;
  }
  int channels = 0;
  LimitImageBlocks(LargestBlock(file, *made));
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
