#include "gltf/write/scenefile.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cctype>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>

#include "core/utf8path.h"
#include "gltf/write/fault.h"

namespace gltf {

namespace {

static_assert(std::endian::native == std::endian::little, "values are written as they lie");

constexpr int kSignedByte = 5120;
constexpr int kByte = 5121;
constexpr int kSignedShort = 5122;
constexpr int kShort = 5123;
constexpr int kInt = 5125;
constexpr int kFloat = 5126;
constexpr int kVertexTarget = 34962;
constexpr int kIndexTarget = 34963;
constexpr char kAccessors[] = "accessors";

constexpr std::uint32_t kMagic = 0x46546C67;      // "glTF"
constexpr std::uint32_t kTextChunk = 0x4E4F534A;  // "JSON"
constexpr std::uint32_t kDataChunk = 0x004E4942;  // "BIN"
constexpr std::uint64_t kLargestFile = std::numeric_limits<std::uint32_t>::max();

std::size_t Components(const std::string& type) {
  return type == "SCALAR" ? 1 : type == "VEC2" ? 2 : type == "VEC3" ? 3 : type == "VEC4" ? 4 : 16;
}

constexpr std::uint64_t Padded(std::uint64_t size) { return (size + 3) & ~std::uint64_t{3}; }

std::string LowerSuffix(const std::string& path) {
  std::string suffix = core::PathOf(path).extension().string();
  std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return suffix;
}

// A file's name as a relative address.
std::string Escaped(const std::string& name) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string result;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80 && (std::isalnum(byte) != 0 || std::strchr("-._~", c) != nullptr)) {
      result += c;
    } else {
      result += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return result;
}

std::span<const std::uint8_t> BytesOf(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

template <class T>
std::span<const std::uint8_t> BytesOf(std::span<const T> values) {
  return {reinterpret_cast<const std::uint8_t*>(values.data()), values.size_bytes()};
}

}  // namespace

std::vector<std::uint8_t>& scenefile::viewdata::PieceFor(std::size_t bytes) {
  constexpr std::size_t kLargestReserve = std::size_t{1} << 20;
  if (pieces.empty() || pieces.back().capacity() - pieces.back().size() < bytes) {
    pieces.emplace_back().reserve(std::max(bytes, std::min(size, kLargestReserve)));
  }
  size += bytes;
  return pieces.back();
}

std::span<std::uint8_t> scenefile::viewdata::Grow(std::size_t bytes) {
  std::vector<std::uint8_t>& last = PieceFor(bytes);
  last.resize(last.size() + bytes);
  return std::span(last).last(bytes);
}

void scenefile::viewdata::Append(std::span<const std::uint8_t> bytes) {
  std::vector<std::uint8_t>& last = PieceFor(bytes.size());
  last.insert(last.end(), bytes.begin(), bytes.end());
}

scenefile::scenefile(std::string path)
    : path_(std::move(path)), split_(LowerSuffix(path_) == ".gltf") {
  root_["asset"] = {{"version", "2.0"}, {"generator", "Marrow " MARROW_VERSION}};
}

int scenefile::Add(const char* list, ordered_json entry) {
  ordered_json& entries = root_[list];
  entries.push_back(std::move(entry));
  return static_cast<int>(entries.size()) - 1;
}

jsonwriter& scenefile::AddWritten(const char* list) {
  const auto found = written_.try_emplace(list, writtenlist{jsonwriter(split_, 1)}).first;
  writtenlist& entries = found->second;
  if (entries.count++ == 0) {
    root_[list] = nullptr;
    entries.text.StartArray();
  }
  return entries.text;
}

void scenefile::SetScene(ordered_json scene) {
  root_["scene"] = 0;
  Add("scenes", std::move(scene));
}

int scenefile::AddView(use purpose) {
  views_.emplace_back().purpose = purpose;
  return static_cast<int>(views_.size()) - 1;
}

jsonwriter& scenefile::StartAccessor() {
  jsonwriter& entry = AddWritten(kAccessors);
  entry.StartObject();
  return entry;
}

jsonwriter& scenefile::StartAccessor(int view, std::size_t offset, int componentType,
                                     std::size_t count, const char* type) {
  jsonwriter& entry = StartAccessor();
  entry.Member("bufferView", view);
  if (offset != 0) {
    entry.Member("byteOffset", offset);
  }
  entry.Member("componentType", componentType);
  entry.Member("count", count);
  entry.Member("type", type);
  return entry;
}

int scenefile::EndAccessor(jsonwriter& entry) {
  entry.EndObject();
  return written_.at(kAccessors).count - 1;
}

int scenefile::AddFloats(int view, std::span<const float> values, const char* type, bounds wanted) {
  viewdata& data = views_[static_cast<std::size_t>(view)];
  const std::size_t offset = data.size;
  data.Append(BytesOf(values));
  const std::size_t components = Components(type);
  jsonwriter& entry = StartAccessor(view, offset, kFloat, values.size() / components, type);
  if (wanted == bounds::Written) {
    std::vector<float> low(values.begin(),
                           values.begin() + static_cast<std::ptrdiff_t>(components));
    std::vector<float> high = low;
    for (std::size_t i = components; i < values.size(); ++i) {
      low[i % components] = std::min(low[i % components], values[i]);
      high[i % components] = std::max(high[i % components], values[i]);
    }
    entry.Member("min", std::span<const float>(low));
    entry.Member("max", std::span<const float>(high));
  }
  return EndAccessor(entry);
}

template <class T>
int scenefile::Pack(int& view, std::span<const float> values, int componentType, bounds wanted) {
  constexpr float kOne = std::numeric_limits<T>::max();
  constexpr std::size_t kStride = Padded(3 * sizeof(T));
  const std::size_t count = values.size() / 3;
  if (view < 0) {
    view = AddView(use::Vertices);
    views_.back().stride = kStride;
  }
  viewdata& data = views_[static_cast<std::size_t>(view)];
  const std::size_t offset = data.size;
  std::uint8_t* to = data.Grow(count * kStride).data();
  std::array<int, 3> low{};
  std::array<int, 3> high{};
  low.fill(std::numeric_limits<T>::max());
  high.fill(std::numeric_limits<T>::lowest());
  for (std::size_t i = 0; i < count; ++i) {
    std::array<T, 3> packed;
    for (std::size_t c = 0; c < 3; ++c) {
      const float exact = std::clamp(values[3 * i + c], -1.0F, 1.0F) * kOne;
      packed[c] = static_cast<T>(exact + (exact < 0.0F ? -0.5F : 0.5F));
      low[c] = std::min<int>(low[c], packed[c]);
      high[c] = std::max<int>(high[c], packed[c]);
    }
    std::memcpy(to, packed.data(), sizeof packed);
    to += kStride;
  }
  jsonwriter& entry = StartAccessor(view, offset, componentType, count, "VEC3");
  entry.Member("normalized", true);
  if (wanted == bounds::Written) {
    entry.Member("min", std::span<const int>(low));
    entry.Member("max", std::span<const int>(high));
  }
  for (const char* list : {"extensionsUsed", "extensionsRequired"}) {
    if (ordered_json& names = root_[list]; names.empty()) {
      names.push_back("KHR_mesh_quantization");
    }
  }
  return EndAccessor(entry);
}

int scenefile::AddPacked(std::span<const float> values, packing how, bounds wanted) {
  return how == packing::Int8 ? Pack<std::int8_t>(byteView_, values, kSignedByte, wanted)
                              : Pack<std::int16_t>(shortView_, values, kSignedShort, wanted);
}

int scenefile::AddZeros(std::size_t count) {
  constexpr std::array<float, 3> kZero{};
  jsonwriter& entry = StartAccessor();
  entry.Member("componentType", kFloat);
  entry.Member("count", count);
  entry.Member("type", "VEC3");
  entry.Member("min", std::span<const float>(kZero));
  entry.Member("max", std::span<const float>(kZero));
  return EndAccessor(entry);
}

int scenefile::AddSparse(std::size_t count, std::span<const placedvalue> values) {
  const int places = AddView(use::Nothing);
  const int numbers = AddView(use::Nothing);
  const auto append = [this](int view, const auto& value) {
    views_[static_cast<std::size_t>(view)].Append(BytesOf(std::span(&value, 1)));
  };
  for (const placedvalue& each : values) {
    append(places, each.place);
    append(numbers, each.value);
  }
  jsonwriter& entry = StartAccessor();
  entry.Member("componentType", kFloat);
  entry.Member("count", count);
  entry.Member("type", "SCALAR");
  entry.Member("sparse",
               ordered_json{{"count", values.size()},
                            {"indices", {{"bufferView", places}, {"componentType", kInt}}},
                            {"values", {{"bufferView", numbers}}}});
  return EndAccessor(entry);
}

template <class T>
int scenefile::AddWhole(use purpose, std::span<const std::uint32_t> values, int componentType,
                        const char* type) {
  const int view = AddView(purpose);
  std::uint8_t* to = views_.back().Grow(values.size() * sizeof(T)).data();
  for (const std::uint32_t each : values) {
    const T value = static_cast<T>(each);
    std::memcpy(to, &value, sizeof(T));
    to += sizeof(T);
  }
  return EndAccessor(StartAccessor(view, 0, componentType, values.size() / Components(type), type));
}

int scenefile::AddIndices(std::span<const std::uint32_t> values) {
  const std::uint32_t largest = *std::max_element(values.begin(), values.end());
  if (largest < UINT8_MAX) {
    return AddWhole<std::uint8_t>(use::Indices, values, kByte, "SCALAR");
  }
  if (largest < UINT16_MAX) {
    return AddWhole<std::uint16_t>(use::Indices, values, kShort, "SCALAR");
  }
  return AddWhole<std::uint32_t>(use::Indices, values, kInt, "SCALAR");
}

int scenefile::AddJoints(std::span<const std::uint32_t> values) {
  const std::uint32_t largest = *std::max_element(values.begin(), values.end());
  if (largest > UINT16_MAX) {
    throw writefault("the scene has more than 65536 joints, the most that a file holds");
  }
  return largest <= UINT8_MAX ? AddWhole<std::uint8_t>(use::Vertices, values, kByte, "VEC4")
                              : AddWhole<std::uint16_t>(use::Vertices, values, kShort, "VEC4");
}

int scenefile::AddImage(const std::string& name, const std::string& mimeType,
                        std::vector<std::uint8_t> bytes) {
  ordered_json image;
  if (!name.empty()) {
    image["name"] = name;
  }
  if (split_) {
    const std::string file = NameBeside("_" + std::to_string(images_.size()) +
                                        (mimeType == "image/png" ? ".png" : ".jpg"));
    image["uri"] = Escaped(file);
    images_.push_back({file, std::move(bytes)});
  } else {
    image["mimeType"] = mimeType;
    image["bufferView"] = AddView(use::Nothing);
    views_.back().size = bytes.size();
    views_.back().pieces.push_back(std::move(bytes));
  }
  return Add("images", std::move(image));
}

std::string scenefile::NameBeside(const std::string& tail) const {
  return core::PathOf(path_).stem().string() + tail;
}

std::string scenefile::RootText() {
  jsonwriter text(split_);
  text.StartObject();
  for (const auto& [name, value] : root_.items()) {
    text.Key(name);
    if (const auto list = written_.find(name); list != written_.end()) {
      list->second.text.EndArray();
      text.PutRaw(list->second.text.Text());
      written_.erase(list);
    } else {
      text.Put(value);
    }
  }
  text.EndObject();
  return text.Take();
}

void scenefile::Save(files::replacement& into) {
  static constexpr std::uint8_t kZeros[3] = {};
  std::vector<std::span<const std::uint8_t>> data;
  std::uint64_t size = 0;
  for (const viewdata& each : views_) {
    jsonwriter& entry = AddWritten("bufferViews");
    entry.StartObject();
    entry.Member("buffer", 0);
    entry.Member("byteOffset", size);
    entry.Member("byteLength", each.size);
    if (each.stride != 0) {
      entry.Member("byteStride", each.stride);
    }
    if (each.purpose != use::Nothing) {
      entry.Member("target", each.purpose == use::Vertices ? kVertexTarget : kIndexTarget);
    }
    entry.EndObject();
    data.insert(data.end(), each.pieces.begin(), each.pieces.end());
    const std::uint64_t padding = Padded(each.size) - each.size;
    data.emplace_back(kZeros, static_cast<std::size_t>(padding));
    size += each.size + padding;
  }
  const std::string dataName = NameBeside(".bin");
  if (size != 0) {
    ordered_json buffer = {{"byteLength", size}};
    if (split_) {
      buffer["uri"] = Escaped(dataName);
    }
    Add("buffers", std::move(buffer));
  }
  std::string text = RootText();
  text.append(split_ ? "\n" : std::string(Padded(text.size()) - text.size(), ' '));
  if (size + text.size() + 28 > kLargestFile) {
    throw writefault("the file would be larger than 4 GB");
  }

  if (split_) {
    const std::filesystem::path folder = core::PathOf(path_).parent_path();
    for (const sidefile& image : images_) {
      into.Write((folder / core::PathOf(image.name)).string(), std::array{std::span(image.bytes)});
    }
    if (size != 0) {
      into.Write((folder / core::PathOf(dataName)).string(), data);
    }
    into.Write(path_, std::array{BytesOf(text)});
  } else {
    const auto textSize = static_cast<std::uint32_t>(text.size());
    const auto dataSize = static_cast<std::uint32_t>(size);
    const std::uint32_t whole = 20 + textSize + (dataSize == 0 ? 0 : 8 + dataSize);
    const std::uint32_t head[5] = {kMagic, 2, whole, textSize, kTextChunk};
    const std::uint32_t dataHead[2] = {dataSize, kDataChunk};
    std::vector<std::span<const std::uint8_t>> pieces = {
        BytesOf(std::span<const std::uint32_t>(head)), BytesOf(text)};
    if (dataSize != 0) {
      pieces.push_back(BytesOf(std::span<const std::uint32_t>(dataHead)));
      pieces.insert(pieces.end(), data.begin(), data.end());
    }
    into.Write(path_, pieces);
  }
}

}  // namespace gltf
