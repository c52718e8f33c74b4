#include "samples/packedgltf.h"

#include <draco/compression/expert_encode.h>
#include <draco/mesh/mesh.h>
#include <meshoptimizer.h>

using nlohmann::json;

namespace {

std::size_t NumComponents(const json& accessor) {
  const std::string type = accessor["type"];
  return type == "SCALAR" ? 1 : type == "MAT4" ? 16 : static_cast<std::size_t>(type.back() - '0');
}

bytes ContentOf(const gltfmodel& model, const json& accessor) {
  const json& view = model.doc["bufferViews"][accessor["bufferView"].get<std::size_t>()];
  const auto first = model.Buffer().begin() + view["byteOffset"].get<std::ptrdiff_t>();
  return {first, first + view["byteLength"].get<std::ptrdiff_t>()};
}

// Puts the filtered form of an accessor's floats into `content`; gives the filter's name.
std::string Filter(json& accessor, bool isNormal, bool isRotation, bytes& content) {
  const std::size_t count = accessor["count"];
  const std::size_t each = NumComponents(accessor);
  std::vector<float> values(content.size() / sizeof(float));
  std::memcpy(values.data(), content.data(), content.size());
  if (isRotation) {
    content.resize(8 * count);
    meshopt_encodeFilterQuat(content.data(), count, 8, 16, values.data());
    accessor.update({{"componentType", 5122}, {"normalized", true}});
    return "QUATERNION";
  }
  if (isNormal) {
    std::vector<float> padded(4 * count);
    for (std::size_t i = 0; i < values.size(); ++i) {
      padded[i / 3 * 4 + i % 3] = values[i];
    }
    content.resize(4 * count);
    meshopt_encodeFilterOct(content.data(), count, 4, 8, padded.data());
    accessor.update({{"componentType", 5120}, {"normalized", true}});
    return "OCTAHEDRAL";
  }
  content.resize(sizeof(float) * values.size());
  meshopt_encodeFilterExp(content.data(), count, sizeof(float) * each, 24, values.data());
  return "EXPONENTIAL";
}

bytes EncodeMeshopt(const std::string& mode, const bytes& content, std::size_t count) {
  bytes packed;
  if (mode == "ATTRIBUTES") {
    const std::size_t stride = content.size() / count;
    packed.resize(meshopt_encodeVertexBufferBound(count, stride));
    packed.resize(
        meshopt_encodeVertexBuffer(packed.data(), packed.size(), content.data(), count, stride));
    return packed;
  }
  std::vector<unsigned int> indices(count);
  for (std::size_t i = 0; i < count; ++i) {
    indices[i] = content[2 * i] + 256U * content[2 * i + 1];
  }
  if (mode == "TRIANGLES") {
    packed.resize(meshopt_encodeIndexBufferBound(count, 1 << 16));
    packed.resize(meshopt_encodeIndexBuffer(packed.data(), packed.size(), indices.data(), count));
  } else {
    packed.resize(meshopt_encodeIndexSequenceBound(count, 1 << 16));
    packed.resize(meshopt_encodeIndexSequence(packed.data(), packed.size(), indices.data(), count));
  }
  return packed;
}

template <class T>
int AddList(draco::Mesh& mesh, draco::GeometryAttribute::Type kind, draco::DataType type,
            const bytes& content) {
  const std::size_t stride = content.size() / mesh.num_points();
  draco::GeometryAttribute list;
  list.Init(kind, nullptr, static_cast<std::uint8_t>(stride / sizeof(T)), type, false,
            static_cast<std::int64_t>(stride), 0);
  const int made = mesh.AddAttribute(list, true, mesh.num_points());
  for (std::uint32_t i = 0; i < mesh.num_points(); ++i) {
    mesh.attribute(made)->SetAttributeValue(draco::AttributeValueIndex(i),
                                            content.data() + i * stride);
  }
  return made;
}

}  // namespace

gltfmodel MeshoptGltf(const std::string& trianglesMode) {
  gltfmodel model = SmallGltf();
  const json& attributes = model.doc["meshes"][0]["primitives"][0]["attributes"];
  const int normals = attributes["NORMAL"];
  const int moves = model.doc["animations"][0]["samplers"][0]["output"];
  const int rotations = model.doc["animations"][0]["samplers"][1]["output"];
  std::size_t unpacked = 0;
  const std::size_t numAccessors = model.Accessors().size();
  for (std::size_t i = 0; i < numAccessors; ++i) {
    json& accessor = model.Accessors()[i];
    const std::size_t count = accessor["count"];
    bytes content = ContentOf(model, accessor);
    const int index = static_cast<int>(i);
    const bool isIndices = accessor["componentType"] == 5123;
    const std::string mode = isIndices ? trianglesMode : "ATTRIBUTES";
    const std::string filter = index == normals || index == moves || index == rotations
                                   ? Filter(accessor, index == normals, index == rotations, content)
                                   : "NONE";
    const bytes packed = EncodeMeshopt(mode, content, count);
    const auto own = static_cast<std::size_t>(model.View(packed));
    json& place = model.doc["bufferViews"][own];
    place.update({{"byteStride", content.size() / count}, {"count", count}, {"mode", mode}});
    if (filter != "NONE") {
      place["filter"] = filter;
    }
    model.doc["bufferViews"][accessor["bufferView"].get<std::size_t>()] = {
        {"buffer", 1},
        {"byteOffset", unpacked},
        {"byteLength", content.size()},
        {"extensions", {{"EXT_meshopt_compression", place}}}};
    model.doc["bufferViews"].erase(own);
    if (index == normals) {
      model.doc["bufferViews"][accessor["bufferView"].get<std::size_t>()]["byteStride"] = 4;
    }
    unpacked += content.size();
  }
  model.doc["buffers"] =
      json::array({{{"byteLength", unpacked},
                    {"extensions", {{"EXT_meshopt_compression", {{"fallback", true}}}}}}});
  model.doc["extensionsRequired"] = {"EXT_meshopt_compression"};
  return model;
}

gltfmodel DracoGltf(dracomethod method) {
  gltfmodel model = SmallGltf();
  json& part = model.doc["meshes"][0]["primitives"][0];
  draco::Mesh mesh;
  json ids;
  for (auto& [name, index] : part["attributes"].items()) {
    json accessor = model.Accessors()[index.get<std::size_t>()];
    const bytes content = ContentOf(model, accessor);
    mesh.set_num_points(accessor["count"].get<std::uint32_t>());
    ids[name] = name == "JOINTS_0"
                    ? AddList<std::uint8_t>(mesh, draco::GeometryAttribute::GENERIC,
                                            draco::DT_UINT8, content)
                    : AddList<float>(mesh,
                                     name == "POSITION"     ? draco::GeometryAttribute::POSITION
                                     : name == "NORMAL"     ? draco::GeometryAttribute::NORMAL
                                     : name == "TEXCOORD_0" ? draco::GeometryAttribute::TEX_COORD
                                                            : draco::GeometryAttribute::GENERIC,
                                     draco::DT_FLOAT32, content);
    accessor.erase("bufferView");
    accessor.erase("sparse");
    index = model.Accessors().size();
    model.Accessors().push_back(accessor);
  }
  json& indices = model.Accessors()[part["indices"].get<std::size_t>()];
  const bytes corners = ContentOf(model, indices);
  indices.erase("bufferView");
  for (std::size_t i = 0; i + 5 < corners.size(); i += 6) {
    mesh.AddFace({{draco::PointIndex(corners[i]), draco::PointIndex(corners[i + 2]),
                   draco::PointIndex(corners[i + 4])}});
  }
  draco::ExpertEncoder encoder(mesh);
  encoder.SetEncodingMethod(method == dracomethod::Sequential ? draco::MESH_SEQUENTIAL_ENCODING
                                                              : draco::MESH_EDGEBREAKER_ENCODING);
  for (const char* name : {"POSITION", "NORMAL", "TEXCOORD_0"}) {
    encoder.SetAttributeQuantization(ids[name], 14);
  }
  draco::EncoderBuffer packed;
  if (!encoder.EncodeToBuffer(&packed).ok()) {
    return model;
  }
  const int view = model.View(bytes(packed.data(), packed.data() + packed.size()));
  part["extensions"]["KHR_draco_mesh_compression"] = {{"bufferView", view}, {"attributes", ids}};
  model.doc["extensionsRequired"] = {"KHR_draco_mesh_compression"};
  return model;
}
