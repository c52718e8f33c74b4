#pragma once

#include <cstdint>

#include "plugin/host/api.h"
#include "plugin/host/arrays.h"
#include "plugin/host/nodes.h"

// One corner of the triangle list: one index serves position and texture alike.
struct cexpvert {
  cpoint3 pos;
  cpoint3 normal;
  float u = 0.0F;
  float v = 0.0F;
};

// The host's triangle list of a mesh or skin, prepared for export. A vertex of the source is
// split where it has several texture vertices, and never for its normal.
class CORE_API cexpmesh {
 public:
  std::int32_t numFaces = 0;
  cexpvert* verts = nullptr;
  std::int32_t numVerts = 0;
  // Entries of verts, for array_assert.
  std::int32_t vertsBound = 0;
  // Three vertex indices for each source face, in face order.
  culongarray faces;
  // One entry for each source face; nonzero: the face has no triangle.
  cbooleanarray faceFlags;
  // For each vertex of verts, its vertex in the source.
  culongarray vertMap;

  cexpmesh();
  ~cexpmesh();
  cexpmesh(const cexpmesh&) = delete;
  cexpmesh& operator=(const cexpmesh&) = delete;

  // Fill the lists in the node's local space. The second argument is always 2.
  int BuildFromMesh(cmesh* mesh, unsigned char mode);
  int BuildFromSkin(cskin* skin, unsigned char mode);
  // Replaces the positions by those of the skin deformed at the frame, in local space.
  int CalcSkinVertsAtFrame(int frame, int mode, int flags);

 private:
  cskin* skin_ = nullptr;
};

static_assert(sizeof(cexpvert) == 32);
