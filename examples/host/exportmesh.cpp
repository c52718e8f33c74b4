// The triangle list that exporters read: a corner for each pair of vertex and texture vertex.

#include <map>

#include "host.h"

namespace {

void Build(cexpmesh& list, const core::meshstate& mesh) {
  std::map<std::pair<int, int>, std::uint32_t> corners;
  std::vector<cexpvert> verts;
  std::vector<std::uint32_t> sources;
  list.numFaces = static_cast<std::int32_t>(mesh.faces.size());
  list.faces.Resize(3 * list.numFaces);
  list.faceFlags.Resize(list.numFaces);
  std::uint32_t* corner = list.faces.Data();
  for (const cface& face : mesh.faces) {
    for (int c = 0; c < 3; ++c) {
      const auto [place, added] =
          corners.try_emplace({face.v[c], face.tv[c]}, static_cast<std::uint32_t>(verts.size()));
      *corner++ = place->second;
      if (added) {
        const auto v = static_cast<std::size_t>(face.v[c]);
        const cpoint3& coordinates = mesh.tverts[static_cast<std::size_t>(face.tv[c])];
        verts.push_back({mesh.verts[v], mesh.normals[v], coordinates.x, coordinates.y});
        sources.push_back(static_cast<std::uint32_t>(v));
      }
    }
  }
  list.numVerts = list.vertsBound = static_cast<std::int32_t>(verts.size());
  list.verts = new cexpvert[verts.size()];
  list.vertMap.Resize(list.numVerts);
  for (std::size_t v = 0; v < verts.size(); ++v) {
    list.verts[v] = verts[v];
    list.vertMap.Data()[v] = sources[v];
  }
}

}  // namespace

cexpmesh::cexpmesh() = default;
cexpmesh::~cexpmesh() { delete[] verts; }

int cexpmesh::BuildFromMesh(cmesh* mesh, unsigned char /*mode*/) {
  Build(*this, mesh->Mesh());
  return 1;
}
int cexpmesh::BuildFromSkin(cskin* skin, unsigned char /*mode*/) {
  skin_ = skin;
  Build(*this, skin->Skin().mesh);
  return 1;
}
int cexpmesh::CalcSkinVertsAtFrame(int frame, int /*mode*/, int /*flags*/) {
  const std::vector<cpoint3> positions = Deformed(*skin_, frame);
  for (int v = 0; v < numVerts; ++v) {
    verts[v].pos = positions[static_cast<std::size_t>(vertMap[v])];
  }
  return 1;
}
