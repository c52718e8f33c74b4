#include "gltf/read/compressed/decompress.h"

#include <map>
#include <tuple>

#include "gltf/read/badfile.h"
#include "gltf/read/compressed/codecs.h"
#include "gltf/read/resources.h"
#include "gltf/read/values.h"

namespace gltf {

namespace {

constexpr char kMeshopt[] = "EXT_meshopt_compression";
constexpr char kDraco[] = "KHR_draco_mesh_compression";

// Bytes that decompression may take in all, beside some for each byte of the file: no codec of
// buffer views makes more than 64 bytes of one.
constexpr std::int64_t kFreeBytes = std::int64_t{1} << 28;
constexpr std::int64_t kBytesPerByte = 64;
// Ids that the lists of a compressed mesh may have.
constexpr std::size_t kMostIds = std::size_t{1} << 16;
constexpr std::int64_t kMostStride = 256;

template <class Value, std::size_t Count>
Value NamedValue(const jsonobject& from, const char* key, const char* missing,
                 const std::pair<const char*, Value> (&names)[Count]) {
  const std::string given = from.Has(key) ? from.Text(key) : missing;
  for (const auto& [name, value] : names) {
    if (given == name) {
      return value;
    }
  }
  from.Fail(std::string(key) + " \"" + given + "\" is unknown");
}

void CheckStride(const jsonobject& from, const packedview& view) {
  const bool isIndices = view.mode != packing::Attributes;
  bool good = isIndices ? view.stride == 2 || view.stride == 4
                        : view.stride > 0 && view.stride <= kMostStride && view.stride % 4 == 0;
  switch (view.filter) {
    case packfilter::Octahedral:
      good = good && !isIndices && (view.stride == 4 || view.stride == 8);
      break;
    case packfilter::Quaternion:
      good = good && !isIndices && view.stride == 8;
      break;
    case packfilter::Exponential:
      good = good && !isIndices;
      break;
    case packfilter::None:
      break;
  }
  if (!good) {
    from.Fail("byteStride " + std::to_string(view.stride) + " does not fit its mode and filter");
  }
  if (view.mode == packing::Triangles && view.count % 3 != 0) {
    from.Fail("count " + std::to_string(view.count) + " is not a whole number of triangles");
  }
}

// Appends a buffer of the document's own, and gives its index.
int AddBuffer(document& doc, std::vector<std::uint8_t> content) {
  filebuffer& buffer = doc.buffers.emplace_back();
  buffer.decoded = std::move(content);
  buffer.content = {buffer.decoded.data(), buffer.decoded.size()};
  buffer.length = buffer.content.Size();
  buffer.isUnpacked = true;
  return static_cast<int>(doc.buffers.size()) - 1;
}

int AddAccessor(document& doc, const accessor& like, std::int64_t count,
                std::vector<std::uint8_t> values) {
  const auto size = static_cast<std::int64_t>(values.size());
  doc.views.push_back({AddBuffer(doc, std::move(values)), 0, size, 0, {}});
  accessor& made = doc.accessors.emplace_back(like);
  made.view = static_cast<int>(doc.views.size()) - 1;
  made.offset = 0;
  made.count = count;
  return static_cast<int>(doc.accessors.size()) - 1;
}

class decompressor {
 public:
  explicit decompressor(document& doc)
      : doc_(doc), room_(kFreeBytes + kBytesPerByte * doc.Bytes()) {}

  void Views() {
    const std::size_t count = doc_.views.size();
    for (std::size_t i = 0; i < count; ++i) {
      if (doc_.views[i].packed.buffer >= 0) {
        UnpackOne(i);
      }
    }
  }

  void Meshes() {
    for (mesh& shape : doc_.meshes) {
      for (primitive& part : shape.primitives) {
        if (part.packed.view >= 0 && !IsPlain(part)) {
          UnpackOne(part);
        }
      }
    }
  }

 private:
  void UnpackOne(std::size_t index) {
    const packedview from = doc_.views[index].packed;
    const std::string place = "buffer view " + std::to_string(index) + ": ";
    const filebuffer& buffer = doc_.buffers[static_cast<std::size_t>(from.buffer)];
    if (!HasCodecs()) {
      const bufferview& plain = doc_.views[index];
      if (plain.offset + plain.length >
          doc_.buffers[static_cast<std::size_t>(plain.buffer)].length) {
        throw badfile(place + MissingCompression(kMeshopt));
      }
      return;
    }
    if (from.offset + from.length > buffer.length) {
      throw badfile(place + "its compressed data reach past buffer " + std::to_string(from.buffer));
    }
    if (from.count > kBytesPerByte * from.length || from.count * from.stride > room_) {
      throw badfile(place + "it has more values than the file can have");
    }
    room_ -= from.count * from.stride;
    const fileview data(buffer.content.Data() + from.offset, static_cast<std::size_t>(from.length));
    std::vector<std::uint8_t> content(static_cast<std::size_t>(from.count * from.stride));
    if (from.count > 0 && !UnpackView(from, data, content.data())) {
      throw badfile(place + "its compressed data are damaged");
    }
    bufferview& view = doc_.views[index];
    view.buffer = AddBuffer(doc_, std::move(content));
    view.offset = 0;
  }

  // Everything stands in the file uncompressed too.
  bool IsPlain(const primitive& part) const {
    const auto plain = [&](int index) {
      return doc_.accessors[static_cast<std::size_t>(index)].view >= 0;
    };
    for (const auto& [name, id] : part.packed.ids) {
      const int index = part.Attribute(name);
      if (index >= 0 && !plain(index)) {
        return false;
      }
    }
    return part.indices >= 0 && plain(part.indices);
  }

  void UnpackOne(primitive& part) {
    if (!HasCodecs()) {
      throw badfile(part.place + ": " + MissingCompression(kDraco));
    }
    if (part.mode < primitivemode::Triangles || part.indices < 0) {
      throw badfile(part.place + ": compressed, but not indexed triangles");
    }
    std::vector<std::pair<std::string, int>> left;  // attributes with their ids
    for (const auto& attribute : part.packed.ids) {
      if (part.Attribute(attribute.first) >= 0) {
        left.push_back(attribute);
      }
    }
    if (TakeKnown(part, left)) {
      return;
    }
    unpackedmesh mesh;
    for (const auto& [name, id] : left) {
      const accessor& like = AccessorOf(part, name);
      mesh.lists.push_back({id, like.type, NumComponents(like.form), {}});
      if (mesh.lists.back().each > 4) {
        throw badfile(part.place + ": " + name + " is of the wrong type");
      }
    }
    const std::int64_t count = doc_.accessors[static_cast<std::size_t>(part.indices)].count;
    // A strip has a triangle for each corner but two.
    mesh.mostFaces = part.mode == primitivemode::Triangles ? count / 3 : count;
    mesh.budget = room_;
    const std::string fault = UnpackMesh(ViewOf(doc_, part.packed.view, part.place), mesh);
    if (!fault.empty()) {
      throw badfile(part.place + ": " + fault);
    }
    room_ = mesh.budget;
    for (std::size_t i = 0; i < left.size(); ++i) {
      const accessor like = AccessorOf(part, left[i].first);
      known_[KeyOf(part, left[i])] =
          AddAccessor(doc_, like, mesh.vertices, std::move(mesh.lists[i].values));
    }
    accessor corners;
    corners.type = component::Uint32;
    known_[KeyOf(part)] = AddAccessor(doc_, corners, 3 * mesh.faces, std::move(mesh.corners));
    TakeKnown(part, left);
  }

  // What a primitive takes from compressed data that others may share: the view, what the document
  // says of the list, the list's id, -1 for the corners.
  using key = std::tuple<int, int, int>;

  static key KeyOf(const primitive& part, const std::pair<std::string, int>& attribute) {
    return {part.packed.view, part.Attribute(attribute.first), attribute.second};
  }
  static key KeyOf(const primitive& part) { return {part.packed.view, part.indices, -1}; }

  const accessor& AccessorOf(const primitive& part, const std::string& name) const {
    return doc_.accessors[static_cast<std::size_t>(part.Attribute(name))];
  }

  // False, with nothing changed, when a part of the primitive was not decompressed yet.
  bool TakeKnown(primitive& part, const std::vector<std::pair<std::string, int>>& attributes) {
    const auto corners = known_.find(KeyOf(part));
    if (corners == known_.end()) {
      return false;
    }
    for (const auto& attribute : attributes) {
      if (!known_.contains(KeyOf(part, attribute))) {
        return false;
      }
    }
    for (const auto& attribute : attributes) {
      part.attributes[attribute.first] = known_[KeyOf(part, attribute)];
    }
    part.indices = corners->second;
    part.mode = primitivemode::Triangles;
    return true;
  }

  document& doc_;
  std::int64_t room_;         // bytes that may still be taken up
  std::map<key, int> known_;  // accessors
};

}  // namespace

bool IsCompression(const std::string& extension) {
  return extension == kMeshopt || extension == kDraco;
}

bool ReadsCompression() { return HasCodecs(); }

std::string MissingCompression(const std::string& extension) {
  return "it needs the glTF extension " + extension +
         ", which this build does not read: use a build with the compression libraries, as those "
         "for Linux are, or save the scene uncompressed";
}

bool IsFallback(const jsonobject& buffer) {
  return buffer.Object("extensions").Object(kMeshopt).Flag("fallback");
}

packedview PackedViewOf(const jsonobject& view, const document& doc) {
  packedview made;
  const jsonobject extensions = view.Object("extensions");
  if (!extensions.Has(kMeshopt)) {
    return made;
  }
  const jsonobject from = extensions.Object(kMeshopt);
  made.buffer = from.NeededIndex("buffer", doc.buffers.size());
  made.offset = from.Whole("byteOffset", 0);
  made.length = from.Whole("byteLength");
  made.stride = from.Whole("byteStride");
  made.count = from.Whole("count");
  made.mode = NamedValue<packing>(from, "mode", "",
                                  {{"ATTRIBUTES", packing::Attributes},
                                   {"TRIANGLES", packing::Triangles},
                                   {"INDICES", packing::Indices}});
  made.filter = NamedValue<packfilter>(from, "filter", "NONE",
                                       {{"NONE", packfilter::None},
                                        {"OCTAHEDRAL", packfilter::Octahedral},
                                        {"QUATERNION", packfilter::Quaternion},
                                        {"EXPONENTIAL", packfilter::Exponential}});
  CheckStride(from, made);
  if (made.count * made.stride != view.Whole("byteLength")) {
    from.Fail("count x byteStride is not the buffer view's byteLength");
  }
  return made;
}

packedmesh PackedMeshOf(const jsonobject& primitive, const document& doc) {
  packedmesh made;
  const jsonobject extensions = primitive.Object("extensions");
  if (extensions.Has(kDraco)) {
    const jsonobject from = extensions.Object(kDraco);
    made.view = from.NeededIndex("bufferView", doc.views.size());
    made.ids = from.IndexMap("attributes", kMostIds);
  }
  return made;
}

void Decompress(document& doc) {
  decompressor work(doc);
  work.Views();
  work.Meshes();
}

}  // namespace gltf
