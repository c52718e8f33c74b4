#pragma once

#include <cstdint>

#include "plugin/host/exportmesh.h"

// Calls add(a, b, c) for every triangle of an export mesh in the order of its source faces, with
// the winding of the host. A face with a flag has no triangle; the list closes up over it.
template <class Add>
void ForEachTriangle(const cexpmesh& mesh, std::int32_t sourceFaces, Add&& add) {
  for (std::int32_t face = 0; face < sourceFaces; ++face) {
    if (mesh.faceFlags[face] == 0) {
      const auto corner = [&](int c) {
        return static_cast<std::int32_t>(mesh.faces[3 * face + c]);
      };
      add(corner(0), corner(1), corner(2));
    }
  }
}
