// Nodes with their tracks, meshes and skins.

#include <algorithm>
#include <cmath>

#include "host.h"

namespace {

// A key on the line between two; rotations along the shorter of the two arcs, by their chord.
ckey Between(const ckey& a, const ckey& b, int frame) {
  const float t = static_cast<float>(frame - a.frame) / static_cast<float>(b.frame - a.frame);
  const float same =
      a.rot.x * b.rot.x + a.rot.y * b.rot.y + a.rot.z * b.rot.z + a.rot.w * b.rot.w < 0 ? -t : t;
  ckey key;
  key.pos = a.pos * (1 - t) + b.pos * t;
  key.scale = a.scale * (1 - t) + b.scale * t;
  key.rot.x = a.rot.x * (1 - t) + b.rot.x * same;
  key.rot.y = a.rot.y * (1 - t) + b.rot.y * same;
  key.rot.z = a.rot.z * (1 - t) + b.rot.z * same;
  key.rot.w = a.rot.w * (1 - t) + b.rot.w * same;
  const float length = std::sqrt(key.rot.x * key.rot.x + key.rot.y * key.rot.y +
                                 key.rot.z * key.rot.z + key.rot.w * key.rot.w);
  key.rot.x /= length;
  key.rot.y /= length;
  key.rot.z /= length;
  key.rot.w /= length;
  return key;
}

cmatrix4 LocalAtFrame(const core::nodestate& node, int frame) {
  if (node.track == nullptr || node.track->State().keys.empty()) {
    return {};
  }
  const std::vector<ckey>& keys = node.track->State().keys;
  const auto next =
      std::ranges::find_if(keys, [frame](const ckey& key) { return key.frame > frame; });
  ckey key = next == keys.begin() ? keys.front() : *(next - 1);
  if (next != keys.begin() && next != keys.end()) {
    key = Between(key, *next, frame);
  }
  return MatrixOf(key.rot, key.pos, key.scale);
}

cmatrix4 WorldAtFrame(cnode& node, int frame) {
  cmatrix4 world;
  for (cnode* at = &node; at != nullptr; at = at->State().parent) {
    world = world * LocalAtFrame(at->State(), frame);
  }
  return world;
}

}  // namespace

cnode::cnode(int type) : state_(new core::nodestate) { state_->type = type; }
cnode::~cnode() { delete state_; }
void cnode::Destroy() {}
void cnode::SetName(const char* name) { state_->name = name; }
const char* cnode::GetName() { return state_->name.c_str(); }
int cnode::GetType() { return state_->type; }
int cnode::GetFlags() { return 0; }
int cnode::GetBBoxAtFrame(int /*frame*/, cpoint3& minimum, cpoint3& maximum) {
  minimum = maximum = cpoint3();
  return 1;
}
cnode* cnode::GetParent() { return state_->parent; }
int cnode::AttachChild(cnode* child, int /*mode*/) {
  child->state_->parent = this;
  return 1;
}
void cnode::SetMaterial(cmaterial* material) { state_->material = material; }
cmaterial* cnode::GetMaterial() { return state_->material; }
cpoint3 cnode::GetPosAtFrame(int frame) { return WorldAtFrame(*this, frame).GetTrans(); }
cquat cnode::GetRotAtFrame(int frame) { return QuatFromMatrix(WorldAtFrame(*this, frame)); }
cmatrix4 cnode::GetTMAtFrame(int frame, int mask) {
  const cmatrix4 world = WorldAtFrame(*this, frame);
  return mask == kRotationOnly ? MatrixOf(QuatFromMatrix(world), {}, MakePt3(1, 1, 1)) : world;
}
void cnode::UpdateAnim() {}

canim::canim() : state_(new core::trackstate) {}
canim::~canim() { delete state_; }
void canim::SetKey(const ckey& key) { state_->keys.assign(1, key); }
int canim::SetNumKeys(int count, int /*mode*/) {
  state_->keys.resize(static_cast<std::size_t>(count));
  return 1;
}
int canim::SetKeyAt(int index, ckey& key, int /*mode*/) {
  state_->keys[static_cast<std::size_t>(index)] = key;
  return 1;
}

cbone::cbone() : cnode(kNodeBone) { StateOf(*this).track = &anim; }

cmesh::cmesh() : cnode(kNodeMesh), mesh_(new core::meshstate) {}
cmesh::~cmesh() { delete mesh_; }
int cmesh::Allocate(int vertices, int textureVertices, int faces) {
  mesh_->verts.resize(static_cast<std::size_t>(vertices));
  mesh_->tverts.resize(static_cast<std::size_t>(textureVertices));
  mesh_->faces.resize(static_cast<std::size_t>(faces));
  numFaces = faces;
  return 1;
}
int cmesh::SetVert(int index, const cpoint3& position) {
  mesh_->verts[static_cast<std::size_t>(index)] = position;
  return 1;
}
int cmesh::SetTVert(int index, const cpoint3& coordinates) {
  mesh_->tverts[static_cast<std::size_t>(index)] = coordinates;
  return 1;
}
int cmesh::SetFace(int index, const cface& face) {
  mesh_->faces[static_cast<std::size_t>(index)] = face;
  return 1;
}
// Every angle counts as smooth here: a normal is the mean of all faces at its vertex.
int cmesh::AutoSmooth(float /*angle*/, int /*mode*/) {
  mesh_->normals.assign(mesh_->verts.size(), cpoint3());
  for (const cface& face : mesh_->faces) {
    const auto corner = [&](int c) { return mesh_->verts[static_cast<std::size_t>(face.v[c])]; };
    const cpoint3 normal = Cross(corner(1) - corner(0), corner(2) - corner(0));
    for (const int v : face.v) {
      cpoint3& sum = mesh_->normals[static_cast<std::size_t>(v)];
      sum = sum + normal;
    }
  }
  for (cpoint3& normal : mesh_->normals) {
    normal.Normalize();
  }
  return 1;
}
int cmesh::GetBBoxAtFrame(int /*frame*/, cpoint3& minimum, cpoint3& maximum) {
  BoxOf(mesh_->verts, minimum, maximum);
  return 1;
}

cskin::cskin() : cnode(kNodeSkin), skin_(new core::skinstate) {}
cskin::~cskin() { delete skin_; }
int cskin::Init(cmesh* mesh) {
  skin_->mesh = std::move(mesh->Mesh());
  skin_->verts.resize(skin_->mesh.verts.size());
  SetMaterial(mesh->GetMaterial());
  numFaces = mesh->numFaces;
  return 1;
}
cpoint3 cskin::GetNormal(int vertex) {
  return skin_->mesh.normals[static_cast<std::size_t>(vertex)];
}
void cskin::SetVertNumWeights(int vertex, int count) {
  skin_->verts[static_cast<std::size_t>(vertex)].count = count;
}
// The number of weights may come later.
void cskin::SetVertWeight(int vertex, int index, const cskinweight& weight) {
  auto& weights = skin_->verts[static_cast<std::size_t>(vertex)].weights;
  weights.resize(std::max(weights.size(), static_cast<std::size_t>(index) + 1));
  weights[static_cast<std::size_t>(index)] = weight;
}
int cskin::GetVertNumWeights(int vertex) {
  return skin_->verts[static_cast<std::size_t>(vertex)].count;
}
int cskin::GetVertWeight(int vertex, int index, cskinweight& weight) {
  weight = skin_->verts[static_cast<std::size_t>(vertex)].weights[static_cast<std::size_t>(index)];
  return 1;
}
int cskin::GetBBoxAtFrame(int frame, cpoint3& minimum, cpoint3& maximum) {
  BoxOf(Deformed(*this, frame), minimum, maximum);
  return 1;
}

std::vector<cpoint3> Deformed(cskin& skin, int frame) {
  const cmatrix4 toLocal = Inverse(skin.GetTMAtFrame(frame, kWholeTransform));
  std::vector<cpoint3> positions;
  for (const core::skinstate::vertex& vertex : skin.Skin().verts) {
    cpoint3 world;
    for (int i = 0; i < vertex.count; ++i) {
      const cskinweight& weight = vertex.weights[static_cast<std::size_t>(i)];
      const cmatrix4 bone = weight.bone->GetTMAtFrame(frame, kWholeTransform);
      world = world + weight.offset * bone * weight.weight;
    }
    positions.push_back(world * toLocal);
  }
  return positions;
}
