#include "gltf/write/png.h"

#define STBI_WRITE_NO_STDIO
#include <stb/stb_image_write.h>

#include "core/decode.h"
#include "gltf/write/fault.h"

namespace gltf {

namespace {

void Append(void* context, void* data, int size) {
  auto& bytes = *static_cast<std::vector<std::uint8_t>*>(context);
  const auto* first = static_cast<const std::uint8_t*>(data);
  bytes.insert(bytes.end(), first, first + size);
}

}  // namespace

std::vector<std::uint8_t> EncodePng(const core::pixels& image) {
  const std::vector<std::uint8_t> rgb = core::OpaqueRgb(image);
  const int components = rgb.empty() ? 4 : 3;
  std::vector<std::uint8_t> bytes;
  if (stbi_write_png_to_func(Append, &bytes, image.width, image.height, components,
                             rgb.empty() ? image.rgba.data() : rgb.data(),
                             components * image.width) == 0) {
    throw writefault("an image cannot be encoded as PNG");
  }
  return bytes;
}

}  // namespace gltf
