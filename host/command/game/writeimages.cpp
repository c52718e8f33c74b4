#include "command/game/writeimages.h"

#define STBI_WRITE_NO_STDIO
#include <stb/stb_image_write.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <unordered_set>
#include <vector>

#include "command/failure.h"
#include "command/files/paths.h"
#include "command/game/gamepath.h"
#include "command/game/newfile.h"
#include "core/decode.h"
#include "core/state.h"
#include "core/utf8path.h"

namespace command {

namespace {

constexpr int kJpegQuality = 90;  // of 100

struct imagefile {
  std::string path;  // below the game's folder
  std::vector<std::uint8_t> content;
};

void Append(void* context, void* data, int size) {
  auto& bytes = *static_cast<std::vector<std::uint8_t>*>(context);
  const auto* first = static_cast<const std::uint8_t*>(data);
  bytes.insert(bytes.end(), first, first + size);
}

// For a path in lower case. Nothing where the image cannot be decoded.
imagefile Encoded(const std::string& path, std::shared_ptr<const core::pixels> image) {
  const std::string stem = WithoutImageSuffix(path);
  if (image->mimeType == "image/jpeg" && !image->encoded.empty()) {
    return {stem + ".jpg", image->encoded};
  }
  if (image->rgba.empty()) {
    image = core::DecodeImage(image->encoded);
  }
  if (image == nullptr) {
    return {};
  }
  imagefile made;
  if (path.ends_with(".jpg") || path.ends_with(".jpeg")) {
    made.path = stem + ".jpg";
    stbi_write_jpg_to_func(Append, &made.content, image->width, image->height, 4,
                           image->rgba.data(), kJpegQuality);
    return made;
  }
  made.path = stem + ".tga";
  const std::vector<std::uint8_t> rgb = core::OpaqueRgb(*image);
  stbi_write_tga_to_func(Append, &made.content, image->width, image->height, rgb.empty() ? 4 : 3,
                         rgb.empty() ? image->rgba.data() : rgb.data());
  return made;
}

void WriteBelow(console& out, const std::string& folder, const imagefile& file,
                const core::pixels& image, bool force) {
  const std::filesystem::path path = core::PathOf(folder) / core::PathOf(file.path);
  std::error_code error;
  std::filesystem::create_directories(path.parent_path(), error);
  if (error) {
    throw failure(path.parent_path().string(), "cannot be made: " + error.message());
  }
  if (!WriteNewFile(out, path.string(), file.content, force)) {
    return;
  }
  const std::string size = std::to_string(image.width) + " x " + std::to_string(image.height);
  if (!std::has_single_bit(static_cast<unsigned>(image.width)) ||
      !std::has_single_bit(static_cast<unsigned>(image.height))) {
    out.Warning(path.string(), "its sides are no powers of two (" + size +
                                   "), so the games scale it, which costs sharpness");
  }
  out.Result(path.string(), "written: " + size + " pixels");
}

}  // namespace

void WriteImages(console& out, const std::string& model, const core::scene& scene, bool force) {
  const std::string whole = FullPath(model);
  const std::string folder = GameFoldersOf(whole).front();
  std::unordered_set<std::string> done;
  for (cnode* node : scene.Nodes()) {
    const cmaterial* const material = node->GetMaterial();
    if (material == nullptr || material->State().image.State().content == nullptr) {
      continue;
    }
    const std::string path = Folded(material->State().gamePath);
    if (!done.insert(path).second) {
      continue;
    }
    const auto leave = [&](const std::string& why, const std::string& behind = "") {
      std::string text = "the image of ";
      text.append(material->State().name.data()).append(" is not written: ");
      out.Warning(model, text.append(why).append(behind));
    };
    if (NamesNothing(path)) {
      leave("no path is known; --shader-dir gives it one");
    } else if (!StaysBelow(path)) {
      leave(path, " leads out of " + folder);
    } else {
      const std::shared_ptr<const core::pixels>& image = material->State().image.State().content;
      const imagefile file = Encoded(path, image);
      if (file.content.empty()) {
        leave("it cannot be decoded");
      } else {
        WriteBelow(out, folder, file, *image, force);
      }
    }
  }
}

}  // namespace command
