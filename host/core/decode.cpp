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

}  // namespace

std::shared_ptr<const pixels> DecodeImage(std::vector<std::uint8_t> file) {
  if (file.empty() || file.size() > INT_MAX) {
    return nullptr;
  }
  const int size = static_cast<int>(file.size());
  int width = 0;
  int height = 0;
  int channels = 0;
  if (stbi_info_from_memory(file.data(), size, &width, &height, &channels) == 0 || width <= 0 ||
      height <= 0 || std::int64_t{width} * height > kMostPixels) {
    return nullptr;
  }
  const std::unique_ptr<stbi_uc, decodedfree> decoded(
      stbi_load_from_memory(file.data(), size, &width, &height, &channels, STBI_rgb_alpha));
  if (!decoded) {
    return nullptr;
  }
  auto made = std::make_shared<pixels>();
  made->width = width;
  made->height = height;
  made->rgba.assign(decoded.get(), decoded.get() + std::size_t{4} *
                                                       static_cast<std::size_t>(width) *
                                                       static_cast<std::size_t>(height));
  if (StartsWith(file, {0xFF, 0xD8, 0xFF})) {
    made->mimeType = "image/jpeg";
  } else if (StartsWith(file, {0x89, 'P', 'N', 'G'})) {
    made->mimeType = "image/png";
  }
  if (!made->mimeType.empty()) {
    made->encoded = std::move(file);
  }
  return made;
}

}  // namespace core
