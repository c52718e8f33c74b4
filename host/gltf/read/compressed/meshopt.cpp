#include <meshoptimizer.h>

#include "gltf/read/compressed/codecs.h"

namespace gltf {

bool HasCodecs() { return true; }

bool UnpackView(const packedview& from, const fileview& data, std::uint8_t* to) {
  const auto count = static_cast<std::size_t>(from.count);
  const auto stride = static_cast<std::size_t>(from.stride);
  const auto size = static_cast<std::size_t>(data.Size());
  int fault = 0;
  switch (from.mode) {
    case packing::Attributes:
      fault = meshopt_decodeVertexBuffer(to, count, stride, data.Data(), size);
      break;
    case packing::Triangles:
      fault = meshopt_decodeIndexBuffer(to, count, stride, data.Data(), size);
      break;
    case packing::Indices:
      fault = meshopt_decodeIndexSequence(to, count, stride, data.Data(), size);
      break;
  }
  if (fault != 0) {
    return false;
  }
  switch (from.filter) {
    case packfilter::None:
      break;
    case packfilter::Octahedral:
      meshopt_decodeFilterOct(to, count, stride);
      break;
    case packfilter::Quaternion:
      meshopt_decodeFilterQuat(to, count, stride);
      break;
    case packfilter::Exponential:
      meshopt_decodeFilterExp(to, count, stride);
      break;
  }
  return true;
}

}  // namespace gltf
