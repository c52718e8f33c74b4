#include "gltf/read/materials.h"

#include <algorithm>
#include <cctype>
#include <memory>
#include <new>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "core/decode.h"
#include "core/state.h"
#include "gltf/read/resources.h"
#include "plugin/host/scene.h"

namespace gltf {

namespace {

// Texts that are each given once: a number is put behind one that was given before.
class uniquenames {
 public:
  std::string Make(const std::string& wanted) {
    std::string name = wanted;
    while (!given_.insert(name).second) {
      name = wanted + "." + std::to_string(++numbers_[wanted]);
    }
    return name;
  }

 private:
  std::unordered_set<std::string> given_;
  std::unordered_map<std::string, int> numbers_;
};

bool EndsWith(const std::string& text, std::string_view end) {
  return text.size() >= end.size() &&
         std::equal(end.rbegin(), end.rend(), text.rbegin(), [](char a, char b) {
           return a == static_cast<char>(std::tolower(static_cast<unsigned char>(b)));
         });
}

std::string WithSuffix(const std::string& name, const core::pixels* content) {
  const bool jpeg = content != nullptr && content->mimeType == "image/jpeg";
  // An image of a game keeps its name, whatever it was turned into on the way.
  if (EndsWith(name, jpeg ? ".jpg" : ".png") || (jpeg && EndsWith(name, ".jpeg")) ||
      EndsWith(name, ".tga")) {
    return name;
  }
  return name + (jpeg ? ".jpg" : ".png");
}

class materialmaker {
 public:
  materialmaker(const document& doc, const surroundings& around, std::vector<std::string>& warnings)
      : doc_(doc), around_(around), warnings_(warnings), images_(doc.images.size()) {}

  std::vector<cmaterial*> AddTo(core::scene& scene) {
    std::vector<cmaterial*> made;
    uniquenames names;
    for (const material& from : doc_.materials) {
      const std::string name =
          names.Make(from.name.empty() ? "material_" + std::to_string(made.size()) : from.name);
      cmaterial* material = CreateNewMaterial();
      if (material == nullptr) {
        throw std::bad_alloc();
      }
      scene.Add(material);
      made.push_back(material);
      material->SetName(name.c_str());
      std::copy(from.colour.begin(), from.colour.end(), material->State().colour);
      material->State().doubleSided = from.doubleSided;
      material->State().gamePath = from.gamePath;
      SetImage(from, name, material->State().image.State());
    }
    return made;
  }

 private:
  struct loaded {
    bool tried = false;
    std::shared_ptr<const core::pixels> content;
  };

  void SetImage(const material& from, const std::string& name, core::imagestate& image) {
    if (from.image >= 0) {
      image.content = ContentOf(from.image);
    } else if (from.hasTexture) {
      warnings_.push_back("material " + name + ": its texture has an image of an unknown format");
    }
    if (!from.gamePath.empty()) {
      image.path = from.gamePath;
    } else if (from.image >= 0) {
      image.path =
          PathOf(doc_.images[static_cast<std::size_t>(from.image)], name, image.content.get());
    }
  }

  static std::string PathOf(const image& from, const std::string& material,
                            const core::pixels* content) {
    if (!from.uri.empty() && !IsDataUri(from.uri)) {
      return WithoutEscapes(from.uri);
    }
    return WithSuffix(from.name.empty() ? material : from.name, content);
  }

  const std::shared_ptr<const core::pixels>& ContentOf(int index) {
    loaded& image = images_[static_cast<std::size_t>(index)];
    if (!image.tried) {
      image.tried = true;
      image.content = core::KeepImage(ImageBytes(doc_, index, around_));
      if (!image.content) {
        Warn(index);
      }
    }
    return image.content;
  }

  void Warn(int index) {
    const image& from = doc_.images[static_cast<std::size_t>(index)];
    const bool named = !from.uri.empty() && !IsDataUri(from.uri);
    const std::string outside = WhyOutside(from.uri, around_);
    warnings_.push_back("image " + std::to_string(index) + ": " +
                        (!outside.empty() ? outside
                         : named
                             ? WithoutEscapes(from.uri) + " cannot be read as a JPEG or PNG file"
                             : "it is no JPEG or PNG file"));
  }

  const document& doc_;
  const surroundings around_;
  std::vector<std::string>& warnings_;
  std::vector<loaded> images_;
};

}  // namespace

std::vector<cmaterial*> AddMaterials(const document& doc, const surroundings& around,
                                     core::scene& scene, std::vector<std::string>& warnings) {
  return materialmaker(doc, around, warnings).AddTo(scene);
}

}  // namespace gltf
