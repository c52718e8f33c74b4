#include "plugin/host/exportmesh.h"

#include <cstddef>
#include <unordered_map>
#include <utility>
#include <vector>

#include "core/deform.h"
#include "core/state.h"

namespace {

constexpr std::int32_t kNoTexture = -1;

struct corner {
  std::int32_t vertex;
  std::int32_t texture;
};

bool Inside(std::int32_t index, std::size_t size) {
  return index >= 0 && static_cast<std::size_t>(index) < size;
}

// Vertices of the export list: the source's own first, in their order, each with the texture
// vertex of its first corner; behind them one for each further pair.
class splitter {
 public:
  explicit splitter(const core::meshstate& mesh) : mesh_(mesh) {
    corners.reserve(mesh.verts.size());
    for (std::size_t i = 0; i < mesh.verts.size(); ++i) {
      corners.push_back({static_cast<std::int32_t>(i), kUnseen});
    }
  }

  // false: the face has an index out of range, and no triangle.
  bool Add(const cface& face, std::uint32_t* indices) {
    const bool textured = !mesh_.tverts.empty();
    for (int k = 0; k < 3; ++k) {
      if (!Inside(face.v[k], mesh_.verts.size()) ||
          (textured && !Inside(face.tv[k], mesh_.tverts.size()))) {
        return false;
      }
    }
    for (int k = 0; k < 3; ++k) {
      indices[k] = IndexOf({face.v[k], textured ? face.tv[k] : kNoTexture});
    }
    return true;
  }

  // Vertices that no face has keep the texture vertex at their own index.
  void Finish() {
    for (std::size_t i = 0; i < mesh_.verts.size(); ++i) {
      if (corners[i].texture == kUnseen) {
        corners[i].texture = i < mesh_.tverts.size() ? static_cast<std::int32_t>(i) : kNoTexture;
      }
    }
  }

  std::vector<corner> corners;

 private:
  static constexpr std::int32_t kUnseen = -2;

  std::uint32_t IndexOf(const corner& wanted) {
    corner& own = corners[static_cast<std::size_t>(wanted.vertex)];
    if (own.texture == kUnseen) {
      own.texture = wanted.texture;
    }
    if (own.texture == wanted.texture) {
      return static_cast<std::uint32_t>(wanted.vertex);
    }
    const std::uint64_t key = (static_cast<std::uint64_t>(wanted.vertex) << 32) |
                              static_cast<std::uint32_t>(wanted.texture);
    const auto next = static_cast<std::uint32_t>(corners.size());
    const auto [place, fresh] = further_.try_emplace(key, next);
    if (fresh) {
      corners.push_back(wanted);
    }
    return place->second;
  }

  const core::meshstate& mesh_;
  std::unordered_map<std::uint64_t, std::uint32_t> further_;
};

void Build(cexpmesh& result, const core::meshstate& mesh) {
  splitter split(mesh);
  const auto numSource = static_cast<std::int32_t>(mesh.faces.size());
  result.faces.Resize(3 * numSource);
  result.faceFlags.Resize(numSource);
  std::int32_t triangles = 0;
  for (std::int32_t f = 0; f < numSource; ++f) {
    if (split.Add(mesh.faces[static_cast<std::size_t>(f)],
                  result.faces.Data() + 3 * static_cast<std::ptrdiff_t>(f))) {
      ++triangles;
    } else {
      result.faceFlags.Set(f, true);
    }
  }
  split.Finish();

  const std::size_t count = split.corners.size();
  result.vertMap.Resize(static_cast<std::int32_t>(count));
  auto* verts = new cexpvert[count];
  for (std::size_t i = 0; i < count; ++i) {
    const corner& from = split.corners[i];
    const auto vertex = static_cast<std::size_t>(from.vertex);
    verts[i].pos = mesh.verts[vertex];
    if (vertex < mesh.normals.size()) {
      verts[i].normal = mesh.normals[vertex];
    }
    if (from.texture >= 0) {
      verts[i].u = mesh.tverts[static_cast<std::size_t>(from.texture)].x;
      verts[i].v = mesh.tverts[static_cast<std::size_t>(from.texture)].y;
    }
    result.vertMap.Data()[i] = static_cast<std::uint32_t>(from.vertex);
  }
  delete[] std::exchange(result.verts, verts);
  result.numVerts = static_cast<std::int32_t>(count);
  result.vertsBound = result.numVerts;
  result.numFaces = triangles;
}

}  // namespace

cexpmesh::cexpmesh() = default;
cexpmesh::~cexpmesh() { delete[] verts; }

int cexpmesh::BuildFromMesh(cmesh* mesh, unsigned char /*mode*/) {
  skin_ = nullptr;
  if (mesh == nullptr) {
    return 0;
  }
  Build(*this, mesh->Mesh());
  return 1;
}

int cexpmesh::BuildFromSkin(cskin* skin, unsigned char /*mode*/) {
  skin_ = nullptr;
  if (skin == nullptr) {
    return 0;
  }
  Build(*this, skin->Skin().mesh);
  skin_ = skin;
  return 1;
}

int cexpmesh::CalcSkinVertsAtFrame(int frame, int /*mode*/, int /*flags*/) {
  if (skin_ == nullptr) {
    return 0;
  }
  const auto own = static_cast<std::int64_t>(skin_->Skin().mesh.verts.size());
  if (own > numVerts) {
    return 0;  // the skin has grown since
  }
  if (own == 0) {
    return 1;
  }
  // The source's own vertices come first, in their order.
  core::PositionsAtFrame(*skin_, frame, &verts->pos, sizeof(cexpvert));
  const std::uint32_t* source = vertMap.Data();
  for (auto i = static_cast<std::int32_t>(own); i < numVerts; ++i) {
    verts[i].pos = verts[source[i]].pos;
  }
  return 1;
}
