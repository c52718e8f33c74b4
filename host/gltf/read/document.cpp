#include "gltf/read/document.h"

#include <algorithm>

#include "binary/little.h"
#include "gltf/read/badfile.h"
#include "gltf/read/compressed/decompress.h"
#include "gltf/read/json.h"
#include "gltf/read/jsonobject.h"

namespace gltf {

namespace {

struct binaryheader {
  little<std::uint32_t> magic;
  little<std::uint32_t> version;
  little<std::uint32_t> length;
};

struct chunkheader {
  little<std::uint32_t> length;
  little<std::uint32_t> type;
};

constexpr std::uint32_t kMagic = 0x46546C67;        // "glTF"
constexpr std::uint32_t kTextChunk = 0x4E4F534A;    // "JSON"
constexpr std::uint32_t kBinaryChunk = 0x004E4942;  // "BIN\0"

fileview Piece(const fileview& whole, std::int64_t offset, std::int64_t length) {
  const auto* data = whole.Records<little<std::uint8_t>>(offset, length);
  return data == nullptr ? fileview()
                         : fileview(whole.Data() + offset, static_cast<std::size_t>(length));
}

// Finds the two chunks of a binary file. Chunks of other types, which may follow, say nothing.
void FindChunks(document& doc, const fileview& whole) {
  const auto* header = whole.Records<binaryheader>(0);
  if (header == nullptr) {
    throw badfile("the file ends in its header");
  }
  if (header->version != 2) {
    throw badfile("binary glTF of version " + std::to_string(header->version) + ", not 2");
  }
  const std::int64_t end = header->length;
  if (end > whole.Size()) {
    throw badfile("the file ends early: it has " + std::to_string(whole.Size()) + " of " +
                  std::to_string(end) + " bytes");
  }
  std::int64_t at = sizeof(binaryheader);
  for (int number = 0; number < 2 && at < end; ++number) {
    const auto* chunk = whole.Records<chunkheader>(at);
    at += static_cast<std::int64_t>(sizeof(chunkheader));
    if (chunk == nullptr || at > end || chunk->length > end - at) {
      throw badfile("chunk " + std::to_string(number) + " reaches past the end of the file");
    }
    if (number == 0 && chunk->type != kTextChunk) {
      throw badfile("the first chunk is not the JSON text");
    }
    if (number == 0) {
      doc.text = Piece(whole, at, chunk->length);
    } else if (chunk->type == kBinaryChunk) {
      doc.binary = Piece(whole, at, chunk->length);
    }
    at += chunk->length;
  }
}

bool StartsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

// Extensions without which the file may not be read, and which change nothing that a scene here
// has, or are read, or are left out with a warning.
bool IsUnderstood(const std::string& extension) {
  return extension == "KHR_mesh_quantization" || extension == "KHR_lights_punctual" ||
         extension == "KHR_texture_transform" || StartsWith(extension, "KHR_materials_") ||
         (IsCompression(extension) && ReadsCompression());
}

void CheckVersion(const jsonobject& root) {
  const jsonobject asset = root.Object("asset");
  const std::string version = asset.Text("version");
  if (!StartsWith(version, "2.")) {
    throw badfile(version.empty() ? "not a glTF file: it names no version of the format"
                                  : "glTF of version " + version + ", not 2.0");
  }
  const std::string least = asset.Text("minVersion");
  if (!least.empty() && least != "2.0") {
    throw badfile("needs a reader of glTF " + least);
  }
  for (const std::string& extension : root.Texts("extensionsRequired")) {
    if (!IsUnderstood(extension)) {
      throw badfile(IsCompression(extension)
                        ? MissingCompression(extension)
                        : "needs the glTF extension " + extension + ", which is not supported");
    }
  }
}

component ComponentOf(const jsonobject& from) {
  const std::int64_t type = from.Whole("componentType");
  switch (type) {
    case 5120:
    case 5121:
    case 5122:
    case 5123:
    case 5125:
    case 5126:
      return static_cast<component>(type);
    default:
      from.Fail("unsupported component type " + std::to_string(type));
  }
}

shape ShapeOf(const jsonobject& from) {
  static const char* const kNames[] = {"SCALAR", "VEC2", "VEC3", "VEC4", "MAT2", "MAT3", "MAT4"};
  const std::string type = from.Text("type");
  for (std::size_t i = 0; i < std::size(kNames); ++i) {
    if (type == kNames[i]) {
      return static_cast<shape>(i);
    }
  }
  from.Fail("unsupported accessor type \"" + type + "\"");
}

void ReadBuffers(const jsonobject& root, document& doc) {
  for (const jsonobject& from : root.Objects("buffers", "buffer")) {
    filebuffer& buffer = doc.buffers.emplace_back();
    buffer.uri = from.Text("uri");
    buffer.length = from.Whole("byteLength");
    buffer.isFallback = IsFallback(from);
  }
  doc.views.reserve(root.ListSize("bufferViews"));
  for (const jsonobject& from : root.Objects("bufferViews", "buffer view")) {
    bufferview& view = doc.views.emplace_back();
    view.buffer = from.NeededIndex("buffer", doc.buffers.size());
    view.offset = from.Whole("byteOffset", 0);
    view.length = from.Whole("byteLength");
    view.stride = from.Whole("byteStride", 0);
    if (view.stride > 255) {
      from.Fail("byteStride is above 252");
    }
    view.packed = PackedViewOf(from, doc);
  }
  doc.accessors.reserve(root.ListSize("accessors"));
  for (const jsonobject& from : root.Objects("accessors", "accessor")) {
    accessor& made = doc.accessors.emplace_back();
    made.view = from.Index("bufferView", doc.views.size());
    made.offset = from.Whole("byteOffset", 0);
    made.count = from.Whole("count");
    made.type = ComponentOf(from);
    made.form = ShapeOf(from);
    made.normalized = from.Flag("normalized");
    if (!from.Has("sparse")) {
      continue;
    }
    const jsonobject sparse = from.Object("sparse");
    const jsonobject indices = sparse.Object("indices");
    const jsonobject values = sparse.Object("values");
    made.sparse.count = sparse.Whole("count");
    made.sparse.indexView = indices.NeededIndex("bufferView", doc.views.size());
    made.sparse.indexOffset = indices.Whole("byteOffset", 0);
    made.sparse.indexType = ComponentOf(indices);
    made.sparse.valueView = values.NeededIndex("bufferView", doc.views.size());
    made.sparse.valueOffset = values.Whole("byteOffset", 0);
  }
}

std::string ExtraText(const jsonobject& from, const char* key) {
  const jsonvalue* value = from.Extra(key);
  return value != nullptr ? TextOf(*value) : std::string();
}

texturetransform TransformOf(const jsonobject& from) {
  texturetransform made;
  from.Numbers("scale", made.scale);
  made.rotation = from.Number("rotation", 0.0);
  from.Numbers("offset", made.offset);
  return made;
}

void ReadMaterials(const jsonobject& root, document& doc) {
  for (const jsonobject& from : root.Objects("images", "image")) {
    doc.images.push_back(
        {from.Text("name"), from.Text("uri"), from.Index("bufferView", doc.views.size())});
  }
  std::vector<int> sources;
  for (const jsonobject& from : root.Objects("textures", "texture")) {
    sources.push_back(from.Index("source", doc.images.size()));
  }
  std::vector<bool> colours(sources.size());
  for (const jsonobject& from : root.Objects("materials", "material")) {
    material& made = doc.materials.emplace_back();
    made.name = from.Text("name");
    made.gamePath = ExtraText(from, "game_path");
    made.doubleSided = from.Flag("doubleSided");
    const jsonobject pbr = from.Object("pbrMetallicRoughness");
    if (std::array<double, 4> colour{}; pbr.Numbers("baseColorFactor", colour)) {
      std::ranges::transform(colour, made.colour.begin(),
                             [](double part) { return static_cast<float>(part); });
    }
    if (pbr.Has("baseColorTexture")) {
      const jsonobject texture = pbr.Object("baseColorTexture");
      made.hasTexture = true;
      const auto index = static_cast<std::size_t>(texture.NeededIndex("index", sources.size()));
      made.image = sources[index];
      colours[index] = true;
      const jsonobject extensions = texture.Object("extensions");
      const jsonobject moved = extensions.Object("KHR_texture_transform");
      if (extensions.Has("KHR_texture_transform")) {
        made.coordinates = TransformOf(moved);
      }
      made.texCoords =
          "TEXCOORD_" + std::to_string(moved.Whole("texCoord", texture.Whole("texCoord", 0)));
    }
  }
  doc.numOtherTextures = static_cast<std::size_t>(std::ranges::count(colours, false));
}

// Weights of morph targets; empty without any.
std::vector<double> WeightsOf(const jsonobject& from, std::size_t count) {
  std::vector<double> weights(count);
  if (count == 0 || !from.Numbers("weights", weights)) {
    weights.clear();
  }
  return weights;
}

void ReadMeshes(const jsonobject& root, document& doc) {
  for (const jsonobject& from : root.Objects("meshes", "mesh")) {
    mesh& made = doc.meshes.emplace_back();
    made.name = from.Text("name");
    for (const jsonobject& part : from.Objects("primitives", "primitive")) {
      primitive& piece = made.primitives.emplace_back();
      piece.place = part.Place();
      for (const auto& [name, index] : part.IndexMap("attributes", doc.accessors.size())) {
        piece.attributes.emplace(name, index);
      }
      piece.indices = part.Index("indices", doc.accessors.size());
      piece.material = part.Index("material", doc.materials.size());
      const std::int64_t mode =
          part.Whole("mode", static_cast<std::int64_t>(primitivemode::Triangles));
      if (mode > static_cast<std::int64_t>(primitivemode::Fan)) {
        part.Fail("unsupported primitive mode " + std::to_string(mode));
      }
      piece.mode = static_cast<primitivemode>(mode);
      piece.packed = PackedMeshOf(part, doc);
      for (const jsonobject& target : part.Objects("targets", "target")) {
        piece.targets.push_back({target.Index("POSITION", doc.accessors.size()),
                                 target.Index("NORMAL", doc.accessors.size())});
      }
      if (piece.targets.size() != made.NumTargets()) {
        part.Fail("it has " + std::to_string(piece.targets.size()) +
                  " morph targets, the mesh's first primitive " +
                  std::to_string(made.NumTargets()));
      }
    }
    made.weights = WeightsOf(from, made.NumTargets());
    if (const jsonvalue* names = from.Extra("targetNames"); names != nullptr && names->IsArray()) {
      for (const jsonvalue& name : names->GetArray()) {
        made.targetNames.push_back(TextOf(name));
      }
    }
  }
}

void ReadVector(const jsonobject& from, const char* key, core::vec3& to) {
  if (std::array<double, 3> v{}; from.Numbers(key, v)) {
    to = {v[0], v[1], v[2]};
  }
}

void ReadPlacement(const jsonobject& from, node& made) {
  if (std::array<double, 16> m{}; from.Numbers("matrix", m)) {
    // Column after column there, row after row here, points being columns there and rows here.
    core::affine matrix;
    for (std::size_t i = 0; i < 3; ++i) {
      matrix.row[i] = {m[4 * i], m[4 * i + 1], m[4 * i + 2]};
    }
    matrix.translation = {m[12], m[13], m[14]};
    made.matrix = std::make_unique<const core::affine>(matrix);
    return;
  }
  ReadVector(from, "translation", made.local.translation);
  ReadVector(from, "scale", made.local.scale);
  if (std::array<double, 4> q{}; from.Numbers("rotation", q)) {
    made.local.rotation.x = static_cast<float>(q[0]);
    made.local.rotation.y = static_cast<float>(q[1]);
    made.local.rotation.z = static_cast<float>(q[2]);
    made.local.rotation.w = static_cast<float>(q[3]);
  }
}

// Each node has one parent, and none is its own ancestor.
void CheckTree(std::vector<node>& nodes) {
  const auto name = [](std::size_t i) { return "node " + std::to_string(i); };
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    for (const int child : nodes[i].children) {
      node& below = nodes[static_cast<std::size_t>(child)];
      if (below.parent >= 0) {
        throw badfile(name(static_cast<std::size_t>(child)) + " has two parents");
      }
      below.parent = static_cast<int>(i);
    }
  }
  // Whatever does not hang from a node without a parent hangs from itself.
  std::vector<int> open;
  std::vector<bool> hangs(nodes.size());
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (nodes[i].parent < 0) {
      open.push_back(static_cast<int>(i));
    }
  }
  while (!open.empty()) {
    const auto at = static_cast<std::size_t>(open.back());
    open.pop_back();
    hangs[at] = true;
    open.insert(open.end(), nodes[at].children.begin(), nodes[at].children.end());
  }
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (!hangs[i]) {
      throw badfile(name(i) + " is its own ancestor");
    }
  }
}

void ReadNodes(const jsonobject& root, document& doc) {
  const std::size_t count = root.ListSize("nodes");
  const std::size_t numSkins = root.ListSize("skins");
  doc.nodes.reserve(count);
  for (const jsonobject& from : root.Objects("nodes", "node")) {
    node& made = doc.nodes.emplace_back();
    made.name = from.Text("name");
    made.children = from.Indices("children", count);
    made.mesh = from.Index("mesh", doc.meshes.size());
    made.skin = from.Index("skin", numSkins);
    if (made.mesh >= 0) {
      made.weights = WeightsOf(from, doc.meshes[static_cast<std::size_t>(made.mesh)].NumTargets());
    }
    made.hasCamera = from.Has("camera");
    const jsonvalue* bone = from.Extra("bone");
    made.isBone = bone != nullptr && bone->IsBool() && bone->GetBool();
    const jsonobject extensions = from.Object("extensions");
    made.hasLight = extensions.Has("KHR_lights_punctual");
    doc.hasInstances = doc.hasInstances || extensions.Has("EXT_mesh_gpu_instancing");
    ReadPlacement(from, made);
  }
  CheckTree(doc.nodes);
  for (const jsonobject& from : root.Objects("skins", "skin")) {
    doc.skins.push_back(
        {from.Indices("joints", count), from.Index("inverseBindMatrices", doc.accessors.size())});
    if (doc.skins.back().joints.empty()) {
      from.Fail("it has no joints");
    }
  }
}

// Six numbers for each frame; none where somebody else has something under the name.
std::vector<std::array<float, 6>> BoundsOf(const jsonvalue& list) {
  std::vector<std::array<float, 6>> made;
  if (!list.IsArray()) {
    return made;
  }
  for (const jsonvalue& from : list.GetArray()) {
    if (!from.IsArray() || from.Size() != made.emplace_back().size()) {
      return {};
    }
    for (rapidjson::SizeType i = 0; i < from.Size(); ++i) {
      if (!from[i].IsNumber()) {
        return {};
      }
      made.back()[i] = static_cast<float>(from[i].GetDouble());
    }
  }
  return made;
}

void ReadScenes(const jsonobject& root, document& doc) {
  const jsonlist scenes = root.Objects("scenes", "scene");
  if (scenes.Size() == 0) {
    for (std::size_t i = 0; i < doc.nodes.size(); ++i) {
      if (doc.nodes[i].parent < 0) {
        doc.roots.push_back(static_cast<int>(i));
      }
    }
    return;
  }
  const jsonobject scene =
      scenes[static_cast<std::size_t>(std::max(root.Index("scene", scenes.Size()), 0))];
  doc.roots = scene.Indices("nodes", doc.nodes.size());
  for (const int index : doc.roots) {
    if (doc.nodes[static_cast<std::size_t>(index)].parent >= 0) {
      scene.Fail("node " + std::to_string(index) + " has a parent");
    }
  }
  doc.notes = ExtraText(scene, "notes");
  if (const jsonvalue* boxes = scene.Extra("frame_bounds"); boxes != nullptr) {
    doc.frameBounds = BoundsOf(*boxes);
  }
}

interpolation InterpolationOf(const jsonobject& from) {
  const std::string mode = from.Text("interpolation");
  if (mode.empty() || mode == "LINEAR") {
    return interpolation::Linear;
  }
  if (mode == "STEP") {
    return interpolation::Step;
  }
  if (mode == "CUBICSPLINE") {
    return interpolation::Cubic;
  }
  from.Fail("unsupported interpolation \"" + mode + "\"");
}

void ReadChannel(const jsonobject& from, document& doc, animation& made) {
  const int index = from.NeededIndex("sampler", made.samplers.size());
  made.timing.push_back(index);
  const jsonobject aim = from.Object("target");
  const std::string path = aim.Text("path");
  const int node = aim.Index("node", doc.nodes.size());
  if (path == "translation" || path == "rotation" || path == "scale" || path == "weights") {
    if (node >= 0) {
      made.channels.push_back({index, node,
                               path == "translation" ? target::Translation
                               : path == "rotation"  ? target::Rotation
                               : path == "scale"     ? target::Scale
                                                     : target::Weights});
    }
  } else {
    doc.hasOtherAnimation = true;
  }
}

void ReadAnimations(const jsonobject& root, document& doc) {
  for (const jsonobject& from : root.Objects("animations", "animation")) {
    animation& made = doc.animations.emplace_back();
    made.name = from.Text("name");
    if (made.name.empty()) {
      made.name = "animation_" + std::to_string(doc.animations.size() - 1);
    }
    made.samplers.reserve(from.ListSize("samplers"));
    for (const jsonobject& part : from.Objects("samplers", "sampler")) {
      made.samplers.push_back({part.NeededIndex("input", doc.accessors.size()),
                               part.NeededIndex("output", doc.accessors.size()),
                               InterpolationOf(part), static_cast<int>(doc.animations.size() - 1),
                               static_cast<int>(made.samplers.size())});
    }
    made.channels.reserve(from.ListSize("channels"));
    for (const jsonobject& part : from.Objects("channels", "channel")) {
      ReadChannel(part, doc, made);
    }
  }
}

}  // namespace

std::int64_t document::Bytes() const {
  std::int64_t sum = file.View().Size();
  for (const filebuffer& buffer : buffers) {
    sum += buffer.isUnpacked ? 0 : buffer.content.Size();
  }
  return sum;
}

document ParseDocument(loadedfile file) {
  document doc;
  doc.file = std::move(file);
  const fileview whole = doc.file.View();
  const auto* magic = whole.Records<little<std::uint32_t>>(0);
  if (magic != nullptr && *magic == kMagic) {
    FindChunks(doc, whole);
  } else {
    doc.text = whole;
  }
  const jsontext text(doc.text);
  const jsonobject root(text.Root(), {});
  CheckVersion(root);
  ReadBuffers(root, doc);
  ReadMaterials(root, doc);
  ReadMeshes(root, doc);
  ReadNodes(root, doc);
  ReadScenes(root, doc);
  ReadAnimations(root, doc);
  return doc;
}

}  // namespace gltf
