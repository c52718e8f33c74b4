#include <draco/compression/mesh/mesh_edgebreaker_decoder.h>
#include <draco/compression/mesh/mesh_sequential_decoder.h>
#include <draco/core/varint_decoding.h>

#include <algorithm>
#include <cstring>

#include "gltf/read/compressed/codecs.h"

namespace gltf {

namespace {

// What the library holds while it decodes: for a face with its connectivity, for a face and each
// list with seams of its own, for a component of a vertex beside its value. Together a fifth to a
// half above what a grid of 500,000 triangles with one to four lists was measured to take.
constexpr std::int64_t kBytesPerFace = 64;
constexpr std::int64_t kBytesPerFaceWithSeams = 16;
constexpr std::int64_t kBytesPerComponent = 16;
constexpr char kDamaged[] = "the compressed data are damaged";
constexpr char kTooMuch[] = "the compressed data have more than the file can have";

// The library's decoder, which looks ahead at what is to come before it makes room for it.
template <class Decoder, bool HasSeams>
class boundeddecoder : public Decoder {
 public:
  explicit boundeddecoder(unpackedmesh& mesh) : mesh_(mesh) {}

  const std::string& Fault() const { return fault_; }

 protected:
  bool DecodeConnectivity() override {
    draco::DecoderBuffer ahead = *this->buffer();
    std::uint32_t first = 0;
    std::uint32_t second = 0;
    std::uint8_t numSeams = 0;
    if (this->bitstream_version() != DRACO_BITSTREAM_VERSION(2, 2)) {
      return Fail("the compressed data are of another version than 2.2");
    }
    if (!draco::DecodeVarint(&first, &ahead) || !draco::DecodeVarint(&second, &ahead) ||
        (HasSeams && !ahead.Decode(&numSeams))) {
      return false;
    }
    // Vertices stand first where there are seams, faces where there are none.
    const std::int64_t faces = HasSeams ? second : first;
    if (faces > mesh_.mostFaces) {
      return Fail("the compressed data have " + std::to_string(faces) + " triangles, not " +
                  std::to_string(mesh_.mostFaces));
    }
    return Take(faces * (kBytesPerFace + kBytesPerFaceWithSeams * numSeams)) &&
           Decoder::DecodeConnectivity();
  }

  // The lists are declared, none has its values yet.
  bool DecodeAllAttributes() override {
    std::int64_t each = 0;
    for (int i = 0; i < this->point_cloud()->num_attributes(); ++i) {
      const draco::PointAttribute& list = *this->point_cloud()->attribute(i);
      each += list.byte_stride() + kBytesPerComponent * list.num_components();
    }
    return Take(each * this->point_cloud()->num_points()) && Decoder::DecodeAllAttributes();
  }

 private:
  bool Fail(const std::string& fault) {
    fault_ = fault;
    return false;
  }

  bool Take(std::int64_t size) {
    mesh_.budget -= size;
    return mesh_.budget >= 0 || Fail(kTooMuch);
  }

  unpackedmesh& mesh_;
  std::string fault_ = kDamaged;
};

template <class Decoder>
std::string Decode(draco::DecoderBuffer& data, unpackedmesh& limits, draco::Mesh& mesh) {
  Decoder decoder(limits);
  const draco::DecoderOptions options;
  return decoder.Decode(options, &data, &mesh).ok() ? std::string() : decoder.Fault();
}

// False when a value is missing.
template <class T>
bool CopyValues(const draco::PointAttribute& from, std::uint32_t count, unpackedlist& to) {
  to.values.resize(sizeof(T) * static_cast<std::size_t>(to.each) * count);
  std::uint8_t* next = to.values.data();
  T element[4] = {};
  for (std::uint32_t v = 0; v < count; ++v) {
    if (!from.ConvertValue<T>(from.mapped_index(draco::PointIndex(v)),
                              static_cast<std::int8_t>(to.each), element)) {
      return false;
    }
    std::memcpy(next, element, sizeof(T) * static_cast<std::size_t>(to.each));
    next += sizeof(T) * static_cast<std::size_t>(to.each);
  }
  return true;
}

bool CopyValues(const draco::PointAttribute& from, std::uint32_t count, unpackedlist& to) {
  switch (to.type) {
    case component::Int8:
      return CopyValues<std::int8_t>(from, count, to);
    case component::Uint8:
      return CopyValues<std::uint8_t>(from, count, to);
    case component::Int16:
      return CopyValues<std::int16_t>(from, count, to);
    case component::Uint16:
      return CopyValues<std::uint16_t>(from, count, to);
    case component::Uint32:
      return CopyValues<std::uint32_t>(from, count, to);
    case component::Float:
      return CopyValues<float>(from, count, to);
  }
  return false;
}

}  // namespace

std::string UnpackMesh(const fileview& data, unpackedmesh& mesh) {
  const auto* const start = reinterpret_cast<const char*>(data.Data());
  draco::DecoderBuffer buffer;
  buffer.Init(start, static_cast<std::size_t>(data.Size()));
  draco::DecoderBuffer ahead = buffer;
  draco::DracoHeader header;
  if (!draco::PointCloudDecoder::DecodeHeader(&ahead, &header).ok()) {
    return "the compressed data are no Draco data";
  }
  if (header.encoder_type != draco::TRIANGULAR_MESH) {
    return "the compressed data have no triangles";
  }
  draco::Mesh unpacked;
  std::string fault =
      header.encoder_method == draco::MESH_EDGEBREAKER_ENCODING
          ? Decode<boundeddecoder<draco::MeshEdgebreakerDecoder, true>>(buffer, mesh, unpacked)
      : header.encoder_method == draco::MESH_SEQUENTIAL_ENCODING
          ? Decode<boundeddecoder<draco::MeshSequentialDecoder, false>>(buffer, mesh, unpacked)
          : kDamaged;
  if (!fault.empty()) {
    return fault;
  }
  mesh.vertices = unpacked.num_points();
  mesh.faces = unpacked.num_faces();
  mesh.corners.resize(3 * sizeof(std::uint32_t) * unpacked.num_faces());
  for (std::uint32_t f = 0; f < unpacked.num_faces(); ++f) {
    const draco::Mesh::Face& face = unpacked.face(draco::FaceIndex(f));
    const std::uint32_t corners[] = {face[0].value(), face[1].value(), face[2].value()};
    std::memcpy(mesh.corners.data() + f * sizeof(corners), corners, sizeof(corners));
  }
  for (unpackedlist& list : mesh.lists) {
    const draco::PointAttribute* const from =
        unpacked.GetAttributeByUniqueId(static_cast<std::uint32_t>(list.id));
    if (from == nullptr) {
      return "the compressed data have no list " + std::to_string(list.id);
    }
    if (from->num_components() != list.each) {
      return "list " + std::to_string(list.id) + " of the compressed data has " +
             std::to_string(from->num_components()) + " components, not " +
             std::to_string(list.each);
    }
    // Several lists may be one and the same in the data.
    mesh.budget -= std::int64_t{4} * list.each * unpacked.num_points();
    if (mesh.budget < 0) {
      return kTooMuch;
    }
    if (!CopyValues(*from, unpacked.num_points(), list)) {
      return kDamaged;
    }
  }
  return {};
}

}  // namespace gltf
