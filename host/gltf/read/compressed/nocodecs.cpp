#include "gltf/read/compressed/codecs.h"

namespace gltf {

bool HasCodecs() { return false; }

bool UnpackView(const packedview& /*from*/, const fileview& /*data*/, std::uint8_t* /*to*/) {
  return false;
}

std::string UnpackMesh(const fileview& /*data*/, unpackedmesh& /*mesh*/) {
  return "this build does not read compressed meshes";
}

}  // namespace gltf
