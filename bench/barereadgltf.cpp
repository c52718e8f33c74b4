#include <rapidjson/document.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string_view>
#include <type_traits>

#include "baregltf.h"

namespace {

using rapidjson::Value;

constexpr std::size_t kHeaderBytes = 12;
constexpr std::size_t kChunkHeaderBytes = 8;

struct filebytes {
  std::unique_ptr<unsigned char[]> data;
  std::size_t size = 0;
};

filebytes Load(const std::string& path) {
  const auto close = [](std::FILE* file) { std::fclose(file); };
  const std::unique_ptr<std::FILE, decltype(close)> file(std::fopen(path.c_str(), "rb"), close);
  filebytes made;
  if (file && std::fseek(file.get(), 0, SEEK_END) == 0) {
    made.size = static_cast<std::size_t>(std::ftell(file.get()));
    std::rewind(file.get());
    made.data.reset(new unsigned char[made.size]);
    made.size = std::fread(made.data.get(), 1, made.size, file.get());
  }
  if (made.size < kHeaderBytes + kChunkHeaderBytes) {
    std::fprintf(stderr, "%s: cannot be read\n", path.c_str());
    std::exit(EXIT_FAILURE);
  }
  return made;
}

std::uint32_t Number(const unsigned char* bytes) {
  std::uint32_t value = 0;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

int Int(const Value& from, const char* key, int missing = -1) {
  const auto found = from.FindMember(key);
  return found == from.MemberEnd() ? missing : found->value.GetInt();
}

std::string Text(const Value& from, const char* key) {
  const auto found = from.FindMember(key);
  return found == from.MemberEnd()
             ? std::string()
             : std::string(found->value.GetString(), found->value.GetStringLength());
}

std::vector<int> Ints(const Value& from, const char* key) {
  std::vector<int> made;
  if (const auto found = from.FindMember(key); found != from.MemberEnd()) {
    made.reserve(found->value.Size());
    for (const Value& each : found->value.GetArray()) {
      made.push_back(each.GetInt());
    }
  }
  return made;
}

template <std::size_t Count>
void Floats(const Value& from, const char* key, std::array<float, Count>& to) {
  if (const auto found = from.FindMember(key); found != from.MemberEnd()) {
    for (rapidjson::SizeType i = 0; i < Count; ++i) {
      to[i] = static_cast<float>(found->value[i].GetDouble());
    }
  }
}

const Value& List(const Value& from, const char* key) {
  static const Value kNone(rapidjson::kArrayType);
  const auto found = from.FindMember(key);
  return found == from.MemberEnd() ? kNone : found->value;
}

template <class File, class To>
void Convert(const unsigned char* from, [[maybe_unused]] bool normalized, std::size_t each,
             To* to) {
  for (std::size_t c = 0; c < each; ++c) {
    File value;
    std::memcpy(&value, from + c * sizeof(File), sizeof(File));
    to[c] = static_cast<To>(value);
    if constexpr (std::is_floating_point_v<To> && std::is_integral_v<File>) {
      if (normalized) {
        constexpr auto kOne = static_cast<To>(std::numeric_limits<File>::max());
        to[c] = std::max(to[c] / kOne, To{-1});
      }
    }
  }
}

// The accessors of a document, copied to where they are asked for.
class accessorlist {
 public:
  accessorlist(const Value& root, const unsigned char* chunk) : chunk_(chunk) {
    for (const Value& each : List(root, "accessors").GetArray()) {
      accessors_.push_back(&each);
    }
    for (const Value& each : List(root, "bufferViews").GetArray()) {
      views_.push_back(&each);
    }
  }

  std::size_t Count(int accessor) const {
    return static_cast<std::size_t>(Int(Accessor(accessor), "count"));
  }

  // Elements of Each numbers, `pitch` bytes from one to the next at their destination.
  template <std::size_t Each, class To>
  void Copy(int accessor, To* to, std::size_t pitch) const {
    const Value& from = Accessor(accessor);
    const bool normalized =
        from.FindMember("normalized") != from.MemberEnd() && from["normalized"].GetBool();
    const int component = Int(from, "componentType");
    if constexpr (std::is_floating_point_v<To>) {
      if (component == 5120) {
        return CopyAs<Each, std::int8_t>(from, normalized, to, pitch);
      }
      if (component == 5122) {
        return CopyAs<Each, std::int16_t>(from, normalized, to, pitch);
      }
    }
    switch (component) {
      case 5121:
        return CopyAs<Each, std::uint8_t>(from, normalized, to, pitch);
      case 5123:
        return CopyAs<Each, std::uint16_t>(from, normalized, to, pitch);
      case 5125:
        return CopyAs<Each, std::uint32_t>(from, normalized, to, pitch);
      default:
        return CopyAs<Each, float>(from, false, to, pitch);
    }
  }

  template <class To, std::size_t Each>
  std::vector<std::array<To, Each>> Whole(int accessor) const {
    std::vector<std::array<To, Each>> made(accessor < 0 ? 0 : Count(accessor));
    if (!made.empty()) {
      Copy<Each>(accessor, made.front().data(), sizeof made.front());
    }
    return made;
  }

 private:
  const Value& Accessor(int index) const { return *accessors_[static_cast<std::size_t>(index)]; }

  template <std::size_t Each, class File, class To>
  void CopyAs(const Value& from, bool normalized, To* to, std::size_t pitch) const {
    const Value& view = *views_[static_cast<std::size_t>(Int(from, "bufferView"))];
    const auto stride =
        static_cast<std::size_t>(Int(view, "byteStride", static_cast<int>(Each * sizeof(File))));
    const unsigned char* at = chunk_ + Int(view, "byteOffset", 0) + Int(from, "byteOffset", 0);
    const auto count = static_cast<std::size_t>(Int(from, "count"));
    for (std::size_t i = 0; i < count; ++i, at += stride) {
      Convert<File>(at, normalized, Each, to);
      to = reinterpret_cast<To*>(reinterpret_cast<unsigned char*>(to) + pitch);
    }
  }

  const unsigned char* chunk_;
  std::vector<const Value*> accessors_;
  std::vector<const Value*> views_;
};

void AddNodes(const Value& root, baremodel& model) {
  model.nodes.reserve(List(root, "nodes").Size());
  for (const Value& from : List(root, "nodes").GetArray()) {
    barenode& made = model.nodes.emplace_back();
    made.name = Text(from, "name");
    made.children = Ints(from, "children");
    made.mesh = Int(from, "mesh");
    made.skin = Int(from, "skin");
    const auto extras = from.FindMember("extras");
    made.bone = extras != from.MemberEnd() && extras->value.HasMember("bone");
    barekey& rest = made.keys.emplace_back();
    Floats(from, "translation", rest.translation);
    Floats(from, "rotation", rest.rotation);
    Floats(from, "scale", rest.scale);
  }
  if (const Value& scenes = List(root, "scenes"); !scenes.Empty()) {
    model.roots = Ints(scenes[0], "nodes");
  }
}

void AddMeshes(const Value& root, const accessorlist& accessors, baremodel& model) {
  for (const Value& from : List(root, "meshes").GetArray()) {
    baremesh& made = model.meshes.emplace_back();
    const Value& part = from["primitives"][0];
    const Value& attributes = part["attributes"];
    made.name = Text(from, "name");
    made.positions = accessors.Whole<float, 3>(Int(attributes, "POSITION"));
    made.normals = accessors.Whole<float, 3>(Int(attributes, "NORMAL"));
    made.coordinates = accessors.Whole<float, 2>(Int(attributes, "TEXCOORD_0"));
    made.joints = accessors.Whole<std::uint32_t, 4>(Int(attributes, "JOINTS_0"));
    made.weights = accessors.Whole<float, 4>(Int(attributes, "WEIGHTS_0"));
    const int indices = Int(part, "indices");
    made.faces.resize(accessors.Count(indices) / 3);
    accessors.Copy<1>(indices, made.faces.front().data(), sizeof(std::uint32_t));
  }
  for (const Value& from : List(root, "skins").GetArray()) {
    model.skins.push_back(
        {Ints(from, "joints"), accessors.Whole<float, 16>(Int(from, "inverseBindMatrices"))});
  }
}

template <std::size_t Each>
void TakeChannel(const accessorlist& accessors, int output, bool constant,
                 std::array<float, Each> barekey::*part, std::vector<barekey>& keys) {
  accessors.Copy<Each>(output, (keys.front().*part).data(), sizeof(barekey));
  if (constant) {
    for (barekey& each : keys) {
      each.*part = keys.front().*part;
    }
  }
}

void AddClip(const Value& clip, const accessorlist& accessors, baremodel& model) {
  model.clip = Text(clip, "name");
  const Value& samplers = clip["samplers"];
  int longest = -1;
  for (const Value& each : samplers.GetArray()) {
    const int input = Int(each, "input");
    longest = longest < 0 || accessors.Count(input) > accessors.Count(longest) ? input : longest;
  }
  model.times.resize(accessors.Count(longest));
  accessors.Copy<1>(longest, model.times.data(), sizeof(float));
  for (const Value& from : clip["channels"].GetArray()) {
    const int output = Int(samplers[static_cast<unsigned>(Int(from, "sampler"))], "output");
    barechannel& made = model.channels.emplace_back();
    made.node = Int(from["target"], "node");
    made.path = Text(from["target"], "path");
    made.constant = accessors.Count(output) < model.times.size();
    std::vector<barekey>& keys = model.nodes[static_cast<std::size_t>(made.node)].keys;
    if (keys.size() == 1) {
      keys.resize(model.times.size(), barekey(keys.front()));
      for (std::size_t f = 0; f < keys.size(); ++f) {
        keys[f].frame = static_cast<std::int32_t>(f);
      }
    }
    if (made.path == "rotation") {
      TakeChannel(accessors, output, made.constant, &barekey::rotation, keys);
    } else {
      TakeChannel(accessors, output, made.constant,
                  made.path == "scale" ? &barekey::scale : &barekey::translation, keys);
    }
  }
}

}  // namespace

baremodel ReadBareGltf(const std::string& path) {
  const filebytes file = Load(path);
  const unsigned char* const text = file.data.get() + kHeaderBytes + kChunkHeaderBytes;
  const std::size_t length = Number(text - kChunkHeaderBytes);
  rapidjson::Document root;
  root.Parse(reinterpret_cast<const char*>(text), length);
  if (root.HasParseError()) {
    std::fprintf(stderr, "%s: no JSON\n", path.c_str());
    std::exit(EXIT_FAILURE);
  }
  const accessorlist accessors(root, text + length + kChunkHeaderBytes);
  baremodel model;
  AddNodes(root, model);
  AddMeshes(root, accessors, model);
  if (const Value& clips = List(root, "animations"); !clips.Empty()) {
    AddClip(clips[0], accessors, model);
  }
  return model;
}
