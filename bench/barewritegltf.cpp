#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "baregltf.h"

namespace {

constexpr std::uint32_t kMagic = 0x46546C67;
constexpr std::uint32_t kTextChunk = 0x4E4F534A;
constexpr std::uint32_t kDataChunk = 0x004E4942;
constexpr int kVertexTarget = 34962;
constexpr int kIndexTarget = 34963;
constexpr int kNoTarget = 0;

using writer = rapidjson::Writer<rapidjson::StringBuffer>;

void Put(writer& to, const char* key, int value) {
  to.Key(key);
  to.Int(value);
}

void Put(writer& to, const char* key, const std::string& value) {
  to.Key(key);
  to.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
}

void Put(writer& to, const char* key, const std::vector<int>& values) {
  to.Key(key);
  to.StartArray();
  for (const int each : values) {
    to.Int(each);
  }
  to.EndArray();
}

template <std::size_t Count>
void Put(writer& to, const char* key, const std::array<float, Count>& values) {
  to.Key(key);
  to.StartArray();
  for (const float each : values) {
    to.Double(each);
  }
  to.EndArray();
}

// The chunk with its views and accessors.
class datachunk {
 public:
  datachunk() {
    accessors_.StartArray();
    views_.StartArray();
  }

  void StartView(int target) {
    bytes_.resize((bytes_.size() + 3) & ~std::size_t{3});
    start_ = bytes_.size();
    target_ = target;
  }

  void EndView() {
    views_.StartObject();
    Put(views_, "buffer", 0);
    Put(views_, "byteOffset", static_cast<int>(start_));
    Put(views_, "byteLength", static_cast<int>(bytes_.size() - start_));
    if (target_ != kNoTarget) {
      Put(views_, "target", target_);
    }
    views_.EndObject();
    ++numViews_;
  }

  // Of `count` elements of Each numbers that lie `pitch` bytes apart, as File has them.
  template <class File, std::size_t Each, class From>
  int Add(const From* from, std::size_t pitch, std::size_t count, int component, const char* type,
          bool bounds = false) {
    accessors_.StartObject();
    Put(accessors_, "bufferView", numViews_);
    Put(accessors_, "byteOffset", static_cast<int>(bytes_.size() - start_));
    Put(accessors_, "componentType", component);
    Put(accessors_, "count", static_cast<int>(count));
    Put(accessors_, "type", std::string(type));
    const std::size_t at = bytes_.size();
    bytes_.resize(at + count * Each * sizeof(File));
    unsigned char* to = bytes_.data() + at;
    for (std::size_t i = 0; i < count; ++i) {
      for (std::size_t c = 0; c < Each; ++c, to += sizeof(File)) {
        const auto value = static_cast<File>(from[c]);
        std::memcpy(to, &value, sizeof(File));
      }
      from = reinterpret_cast<const From*>(reinterpret_cast<const unsigned char*>(from) + pitch);
    }
    if (bounds) {
      PutBounds<Each>(bytes_.data() + at, count);
    }
    accessors_.EndObject();
    return numAccessors_++;
  }

  template <std::size_t Each>
  int AddView(const std::vector<std::array<float, Each>>& from, const char* type, int target,
              bool bounds = false) {
    StartView(target);
    const int made =
        Add<float, Each>(from.front().data(), sizeof from.front(), from.size(), 5126, type, bounds);
    EndView();
    return made;
  }

  // In the smallest type that holds numbers below `most`.
  template <std::size_t Each>
  int AddWhole(const std::uint32_t* from, std::size_t count, std::size_t most, const char* type,
               int target) {
    constexpr std::size_t kPitch = Each * sizeof(std::uint32_t);
    StartView(target);
    const int made = most < UINT8_MAX ? Add<std::uint8_t, Each>(from, kPitch, count, 5121, type)
                     : most < UINT16_MAX
                         ? Add<std::uint16_t, Each>(from, kPitch, count, 5123, type)
                         : Add<std::uint32_t, Each>(from, kPitch, count, 5125, type);
    EndView();
    return made;
  }

  void PutLists(rapidjson::StringBuffer& text, writer& to) {
    accessors_.EndArray();
    views_.EndArray();
    bytes_.resize((bytes_.size() + 3) & ~std::size_t{3});
    const auto put = [&](const char* key, const rapidjson::StringBuffer& list) {
      to.Key(key);
      to.RawValue(list.GetString(), list.GetSize(), rapidjson::kArrayType);
    };
    put("accessors", accessorText_);
    put("bufferViews", viewText_);
    to.Key("buffers");
    to.StartArray();
    to.StartObject();
    Put(to, "byteLength", static_cast<int>(bytes_.size()));
    to.EndObject();
    to.EndArray();
    to.EndObject();
    while (text.GetSize() % 4 != 0) {
      text.Put(' ');
    }
  }

  const std::vector<unsigned char>& Bytes() const { return bytes_; }

 private:
  template <std::size_t Each>
  void PutBounds(const unsigned char* at, std::size_t count) {
    std::array<float, Each> low;
    std::memcpy(low.data(), at, sizeof low);
    std::array<float, Each> high = low;
    for (std::size_t i = 1; i < count; ++i) {
      std::array<float, Each> each;
      std::memcpy(each.data(), at + i * sizeof each, sizeof each);
      for (std::size_t c = 0; c < Each; ++c) {
        low[c] = std::min(low[c], each[c]);
        high[c] = std::max(high[c], each[c]);
      }
    }
    Put(accessors_, "min", low);
    Put(accessors_, "max", high);
  }

  rapidjson::StringBuffer accessorText_;
  rapidjson::StringBuffer viewText_;
  writer accessors_{accessorText_};
  writer views_{viewText_};
  std::vector<unsigned char> bytes_;
  std::size_t start_ = 0;
  int target_ = kNoTarget;
  int numViews_ = 0;
  int numAccessors_ = 0;
};

void PutNodes(const baremodel& model, writer& to) {
  const barekey none;
  to.Key("scenes");
  to.StartArray();
  to.StartObject();
  Put(to, "nodes", model.roots);
  to.EndObject();
  to.EndArray();
  to.Key("nodes");
  to.StartArray();
  for (const barenode& from : model.nodes) {
    const barekey& rest = from.keys.front();
    to.StartObject();
    Put(to, "name", from.name);
    if (rest.translation != none.translation) {
      Put(to, "translation", rest.translation);
    }
    if (rest.rotation != none.rotation) {
      Put(to, "rotation", rest.rotation);
    }
    if (rest.scale != none.scale) {
      Put(to, "scale", rest.scale);
    }
    if (!from.children.empty()) {
      Put(to, "children", from.children);
    }
    if (from.mesh >= 0) {
      Put(to, "mesh", from.mesh);
      Put(to, "skin", from.skin);
    }
    if (from.bone) {
      to.Key("extras");
      to.StartObject();
      to.Key("bone");
      to.Bool(true);
      to.EndObject();
    }
    to.EndObject();
  }
  to.EndArray();
}

void PutMeshes(const baremodel& model, datachunk& data, writer& to) {
  to.Key("meshes");
  to.StartArray();
  for (const baremesh& from : model.meshes) {
    to.StartObject();
    Put(to, "name", from.name);
    to.Key("primitives");
    to.StartArray();
    to.StartObject();
    to.Key("attributes");
    to.StartObject();
    Put(to, "POSITION", data.AddView(from.positions, "VEC3", kVertexTarget, true));
    Put(to, "NORMAL", data.AddView(from.normals, "VEC3", kVertexTarget));
    Put(to, "TEXCOORD_0", data.AddView(from.coordinates, "VEC2", kVertexTarget));
    Put(to, "JOINTS_0",
        data.AddWhole<4>(from.joints.front().data(), from.joints.size(),
                         model.skins.front().joints.size(), "VEC4", kVertexTarget));
    Put(to, "WEIGHTS_0", data.AddView(from.weights, "VEC4", kVertexTarget));
    to.EndObject();
    Put(to, "indices",
        data.AddWhole<1>(from.faces.front().data(), 3 * from.faces.size(), from.positions.size(),
                         "SCALAR", kIndexTarget));
    to.EndObject();
    to.EndArray();
    to.EndObject();
  }
  to.EndArray();
}

void PutSkins(const baremodel& model, datachunk& data, writer& to) {
  to.Key("skins");
  to.StartArray();
  for (const bareskin& from : model.skins) {
    to.StartObject();
    if (!from.inverseBinds.empty()) {
      Put(to, "inverseBindMatrices", data.AddView(from.inverseBinds, "MAT4", kNoTarget));
    }
    Put(to, "joints", from.joints);
    to.EndObject();
  }
  to.EndArray();
}

int AddChannel(const baremodel& model, const barechannel& from, datachunk& data) {
  const std::vector<barekey>& keys = model.nodes[static_cast<std::size_t>(from.node)].keys;
  const std::size_t count = from.constant ? 1 : keys.size();
  if (from.path == "rotation") {
    return data.Add<float, 4>(keys.front().rotation.data(), sizeof(barekey), count, 5126, "VEC4");
  }
  const auto& part = from.path == "scale" ? keys.front().scale : keys.front().translation;
  return data.Add<float, 3>(part.data(), sizeof(barekey), count, 5126, "VEC3");
}

void PutClip(const baremodel& model, datachunk& data, writer& to) {
  data.StartView(kNoTarget);
  const auto addTimes = [&](std::size_t count) {
    return data.Add<float, 1>(model.times.data(), sizeof(float), count, 5126, "SCALAR", true);
  };
  const int times = addTimes(model.times.size());
  const int start = addTimes(1);
  to.Key("animations");
  to.StartArray();
  to.StartObject();
  Put(to, "name", model.clip);
  to.Key("channels");
  to.StartArray();
  for (std::size_t i = 0; i < model.channels.size(); ++i) {
    to.StartObject();
    Put(to, "sampler", static_cast<int>(i));
    to.Key("target");
    to.StartObject();
    Put(to, "node", model.channels[i].node);
    Put(to, "path", model.channels[i].path);
    to.EndObject();
    to.EndObject();
  }
  to.EndArray();
  to.Key("samplers");
  to.StartArray();
  for (const barechannel& each : model.channels) {
    to.StartObject();
    Put(to, "input", each.constant ? start : times);
    Put(to, "output", AddChannel(model, each, data));
    to.EndObject();
  }
  to.EndArray();
  to.EndObject();
  to.EndArray();
  data.EndView();
}

std::size_t WriteFile(const std::string& path, const rapidjson::StringBuffer& text,
                      const std::vector<unsigned char>& data) {
  const auto close = [](std::FILE* file) { std::fclose(file); };
  const std::unique_ptr<std::FILE, decltype(close)> file(std::fopen(path.c_str(), "wb"), close);
  const auto textSize = static_cast<std::uint32_t>(text.GetSize());
  const auto dataSize = static_cast<std::uint32_t>(data.size());
  const std::uint32_t head[5] = {kMagic, 2, 28 + textSize + dataSize, textSize, kTextChunk};
  const std::uint32_t dataHead[2] = {dataSize, kDataChunk};
  std::size_t written = 0;
  const auto put = [&](const void* from, std::size_t size) {
    written += file ? std::fwrite(from, 1, size, file.get()) : 0;
  };
  put(head, sizeof head);
  put(text.GetString(), text.GetSize());
  put(dataHead, sizeof dataHead);
  put(data.data(), data.size());
  return written;
}

}  // namespace

std::size_t WriteBareGltf(const baremodel& model, const std::string& path) {
  rapidjson::StringBuffer text;
  writer to(text);
  datachunk data;
  to.StartObject();
  to.Key("asset");
  to.StartObject();
  Put(to, "version", std::string("2.0"));
  to.EndObject();
  Put(to, "scene", 0);
  PutNodes(model, to);
  PutMeshes(model, data, to);
  PutSkins(model, data, to);
  if (!model.channels.empty()) {
    PutClip(model, data, to);
  }
  data.PutLists(text, to);
  return WriteFile(path, text, data.Bytes());
}
