#include "gltf/write/png.h"

#define STBI_WRITE_NO_STDIO
#include <stb/stb_image_write.h>

#include "gltf/write/fault.h"

namespace gltf {

namespace {

bool IsOpaque(const std::vector<std::uint8_t>& rgba) {
  for (std::size_t i = 3; i < rgba.size(); i += 4) {
    if (rgba[i] != 255) {
      return false;
    }
  }
  return true;
}

void Append(void* context, void* data, int size) {
  auto& bytes = *static_cast<std::vector<std::uint8_t>*>(context);
  const auto* first = static_cast<const std::uint8_t*>(data);
  bytes.insert(bytes.end(), first, first + size);
}

}  // namespace

std::vector<std::uint8_t> EncodePng(const core::pixels& image) {
  std::vector<std::uint8_t> rgb;
  const bool opaque = IsOpaque(image.rgba);
  if (opaque) {
    rgb.reserve(image.rgba.size() / 4 * 3);
    for (std::size_t i = 0; i + 3 < image.rgba.size(); i += 4) {
      rgb.insert(rgb.end(), image.rgba.begin() + static_cast<std::ptrdiff_t>(i),
                 image.rgba.begin() + static_cast<std::ptrdiff_t>(i + 3));
    }
  }
  const int components = opaque ? 3 : 4;
  std::vector<std::uint8_t> bytes;
  if (stbi_write_png_to_func(Append, &bytes, image.width, image.height, components,
                             opaque ? rgb.data() : image.rgba.data(),
                             components * image.width) == 0) {
    throw writefault("an image cannot be turned into a PNG");
  }
  return bytes;
}

}  // namespace gltf
