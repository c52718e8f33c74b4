#pragma once

#include <string>

#include "gltf/read/document.h"
#include "gltf/read/jsonobject.h"

// Scenes whose buffers or meshes are compressed: EXT_meshopt_compression and
// KHR_draco_mesh_compression.

namespace gltf {

// An extension of the two; whether this build reads it is another matter.
bool IsCompression(const std::string& extension);
bool ReadsCompression();
// What to tell of a file that needs one that this build does not read.
std::string MissingCompression(const std::string& extension);

// Of a buffer, a buffer view and a primitive, as the document has them. Throw badfile.
bool IsFallback(const jsonobject& buffer);
packedview PackedViewOf(const jsonobject& view, const document& doc);
packedmesh PackedMeshOf(const jsonobject& primitive, const document& doc);

// Puts in the place of what is compressed what it stands for, once the buffers are loaded: buffer
// views get buffers of their own, primitives get accessors of their own. Throws badfile.
void Decompress(document& doc);

}  // namespace gltf
