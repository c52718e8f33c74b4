#include "gltf/write/materials.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "core/state.h"
#include "gltf/write/fault.h"
#include "gltf/write/png.h"
#include "gltf/write/utf8.h"

namespace gltf {

namespace {

bool IsNoImage(std::string_view path) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return path.empty() ||
         std::equal(path.begin(), path.end(), std::begin(kNoImagePath), std::end(kNoImagePath) - 1,
                    [lower](char a, char b) { return lower(a) == lower(b); });
}

std::string LastPart(const std::string& path) {
  const std::size_t mark = path.find_last_of("/\\");
  return mark == std::string::npos ? path : path.substr(mark + 1);
}

class materialwriter {
 public:
  explicit materialwriter(scenefile& file) : file_(file) {}

  int Write(const cmaterial& material) {
    const core::materialstate& state = material.State();
    const core::imagestate& image = state.image.State();
    ordered_json entry;
    if (state.name.front() != '\0') {
      entry["name"] = ToUtf8(state.name.data());
    }
    ordered_json surface;
    if (std::any_of(std::begin(state.colour), std::end(state.colour),
                    [](float part) { return part != 1.0F; })) {
      surface["baseColorFactor"] = Colour(state);
    }
    if (image.content && !(image.content->rgba.empty() && image.content->encoded.empty())) {
      surface["baseColorTexture"] = {{"index", Texture(image)}};
    }
    surface["metallicFactor"] = 0.0;
    entry["pbrMetallicRoughness"] = std::move(surface);
    if (state.colour[3] < 1.0F) {
      entry["alphaMode"] = "BLEND";
    }
    if (state.doubleSided) {
      entry["doubleSided"] = true;
    }
    if (!IsNoImage(image.path)) {
      entry["extras"] = {
          {"game_path", ToUtf8(state.gamePath.empty() ? image.path : state.gamePath)}};
    }
    return file_.Add("materials", std::move(entry));
  }

 private:
  // Programs that name images without their suffixes leave no other trace of a path that has none.
  static std::string NameOf(const std::string& path) {
    std::string last = LastPart(path);
    return last.find('.') == std::string::npos ? path : last;
  }

  static std::vector<float> Colour(const core::materialstate& state) {
    std::vector<float> parts(std::begin(state.colour), std::end(state.colour));
    for (float& part : parts) {
      if (!std::isfinite(part)) {
        throw writefault("material \"" + std::string(state.name.data()) +
                         "\": its colour is not a finite number");
      }
      part = std::clamp(part, 0.0F, 1.0F);
    }
    return parts;
  }

  // Materials that share the pixels share the texture.
  int Texture(const core::imagestate& image) {
    const auto [place, fresh] = textures_.try_emplace(image.content.get(), 0);
    if (fresh) {
      const core::pixels& content = *image.content;
      const std::string name = IsNoImage(image.path) ? "" : ToUtf8(NameOf(image.path));
      const bool asItIs = !content.encoded.empty();
      const int source = file_.AddImage(name, asItIs ? content.mimeType : "image/png",
                                        asItIs ? content.encoded : EncodePng(content));
      place->second = file_.Add("textures", {{"source", source}});
    }
    return place->second;
  }

  scenefile& file_;
  std::unordered_map<const core::pixels*, int> textures_;
};

}  // namespace

std::unordered_map<const cmaterial*, int> WriteMaterials(const core::scene& scene,
                                                         scenefile& file) {
  std::unordered_map<const cmaterial*, int> indices;
  materialwriter writer(file);
  for (const cmaterial* material : scene.Materials()) {
    indices.emplace(material, writer.Write(*material));
  }
  return indices;
}

}  // namespace gltf
