#include <algorithm>
#include <new>
#include <utility>

#include "core/box.h"
#include "core/nodeaccess.h"
#include "core/smooth.h"
#include "core/state.h"
#include "plugin/host/scene.h"

namespace {

template <class T>
int SetEntry(std::vector<T>& list, int index, const T& value) {
  if (index < 0 || static_cast<std::size_t>(index) >= list.size()) {
    return 0;
  }
  list[static_cast<std::size_t>(index)] = value;
  return 1;
}

}  // namespace

bool core::BoxOf(const std::vector<cpoint3>& points, cpoint3& minimum, cpoint3& maximum) {
  if (points.empty()) {
    minimum = cpoint3();
    maximum = cpoint3();
    return false;
  }
  cpoint3 low = points.front();
  cpoint3 high = low;
  for (const cpoint3& p : points) {
    low.x = std::min(low.x, p.x);
    low.y = std::min(low.y, p.y);
    low.z = std::min(low.z, p.z);
    high.x = std::max(high.x, p.x);
    high.y = std::max(high.y, p.y);
    high.z = std::max(high.z, p.z);
  }
  minimum = low;
  maximum = high;
  return true;
}

cmesh::cmesh() : cnode(kNodeMesh) {
  core::nodeaccess::MakeTrack(*this);
  mesh_ = new core::meshstate;
}

cmesh::~cmesh() { delete mesh_; }

int cmesh::GetBBoxAtFrame(int /*frame*/, cpoint3& minimum, cpoint3& maximum) {
  return core::BoxOf(mesh_->verts, minimum, maximum) ? 1 : 0;
}

int cmesh::Allocate(int vertices, int textureVertices, int faces) {
  *mesh_ = core::meshstate();
  numFaces = 0;
  if (vertices < 0 || textureVertices < 0 || faces < 0) {
    return 0;
  }
  core::meshstate made;
  try {
    made.verts.resize(static_cast<std::size_t>(vertices));
    made.normals.assign(static_cast<std::size_t>(vertices), MakePt3(0.0F, 0.0F, 1.0F));
    made.tverts.resize(static_cast<std::size_t>(textureVertices));
    made.faces.resize(static_cast<std::size_t>(faces));
  } catch (const std::bad_alloc&) {
    return 0;
  }
  *mesh_ = std::move(made);
  numFaces = faces;
  return 1;
}

int cmesh::SetVert(int index, const cpoint3& position) {
  return SetEntry(mesh_->verts, index, position);
}
int cmesh::SetTVert(int index, const cpoint3& coordinates) {
  return SetEntry(mesh_->tverts, index, coordinates);
}
int cmesh::SetFace(int index, const cface& face) {
  const auto isVertex = [this](std::int32_t v) {
    return v >= 0 && static_cast<std::size_t>(v) < mesh_->verts.size();
  };
  if (!std::ranges::all_of(face.v, isVertex)) {
    cface none = face;
    none.v[0] = core::kNoVertex;
    SetEntry(mesh_->faces, index, none);
    return 0;
  }
  return SetEntry(mesh_->faces, index, face);
}

int cmesh::AutoSmooth(float angle, int /*mode*/) {
  core::SmoothNormals(*mesh_, angle);
  return 1;
}
