#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "binary/fileview.h"
#include "gltf/read/document.h"

// What the compression libraries do. A build without them has nocodecs.cpp in their place.

namespace gltf {

bool HasCodecs();

// Fills `to`, count x stride bytes, from a view's compressed data. What the view says of itself was
// checked. False when the data are damaged.
bool UnpackView(const packedview& from, const fileview& data, std::uint8_t* to);

// A list of a compressed mesh.
struct unpackedlist {
  int id = 0;  // in the compressed data
  component type = component::Float;
  std::int64_t each = 1;  // components
  // Out: element after element, one for each vertex.
  std::vector<std::uint8_t> values;
};

struct unpackedmesh {
  std::vector<unpackedlist> lists;
  std::int64_t mostFaces = 0;
  std::int64_t budget = 0;  // bytes that unpacking may take; out: those that are left
  // Out.
  std::int64_t vertices = 0;
  std::int64_t faces = 0;
  std::vector<std::uint8_t> corners;  // three 32-bit numbers of vertices for each face
};

// Fills a mesh from compressed data. What the data say of their own size is held against the mesh's
// limits before room is made for it. Empty when the mesh is filled, otherwise what is wrong.
std::string UnpackMesh(const fileview& data, unpackedmesh& mesh);

}  // namespace gltf
