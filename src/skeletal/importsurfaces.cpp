// Meshes and skins of the surfaces.

#include <utility>

#include "plugin/run/allocation.h"
#include "plugin/run/owned.h"
#include "skeletal/importrun.h"

namespace {

constexpr float kSmoothingAngle = 45.0F;

cpoint3 Offset(const skelWeight& weight) {
  return MakePt3(weight.offset[0], weight.offset[1], weight.offset[2]);
}

// A weight of a bone outside the list is left out.
bool HasBone(const skelWeight& weight) { return weight.boneIndex >= 0; }

}  // namespace

void cskelimport::CreateSurfaces(const importsteps& steps) {
  const int numSurfaces = static_cast<int>(mesh_->surfaces.size());
  fromWorldRotation_.resize(pBone_.size());
  knownRotation_.resize(pBone_.size());
  progress_->SetRange(numSurfaces);
  progress_->SetPosition(0);
  for (int i = 0; i < numSurfaces; ++i) {
    progress_->SetText("Creating Surfaces: %d of %d\n", i, numSurfaces);
    progress_->SetPosition(i);
    CreateSurface(mesh_->surfaces[static_cast<std::size_t>(i)], steps);
  }
}

void cskelimport::CreateSurface(const skelsurfentry& entry, const importsteps& steps) {
  const auto name = NameText(entry.surface->name);
  ownednode<cmesh> m(RequireNew(CreateNewMesh(), {"m", format_->source}));
  if (m->Allocate(entry.numVerts, entry.numVerts, entry.numTriangles) == 0) {
    return;
  }
  m->SetName(name.data());
  if (importMaterials_ != 0) {
    if (cmaterial* const material = steps.findMatBySurface(name.data()); material != nullptr) {
      m->SetMaterial(material);
    }
  }
  FillMesh(*m, entry);
  m->AutoSmooth(kSmoothingAngle, 0);
  if (importBones_ == 0) {
    HandOver(std::move(m));
    return;
  }
  ownednode<cskin> skin(RequireNew(CreateNewSkin(), {"skin", format_->source}));
  skin->Init(m.get());
  m.reset();
  skin->SetName(name.data());
  SetWeights(*skin, entry);
  HandOver(std::move(skin));
}

void cskelimport::FillMesh(cmesh& mesh, const skelsurfentry& entry) const {
  cvertexwalk walk = mesh_->Vertices(entry);
  for (std::int32_t v = 0; v < entry.numVerts; ++v, walk.Next()) {
    const skelVertex& vertex = walk.Vertex();
    cpoint3 position;
    for (std::int32_t j = 0; j < walk.NumWeights(); ++j) {
      if (const skelWeight& weight = walk.Weights()[j]; HasBone(weight)) {
        const cimpbone& pose = pBone_[static_cast<std::size_t>(weight.boneIndex)];
        position = position + Offset(weight) * pose.worldTM * weight.boneWeight;
      }
    }
    mesh.SetVert(v, position);
    mesh.SetTVert(v, MakePt3(vertex.texCoords[0], vertex.texCoords[1], 0.0F));
  }
  for (std::int32_t t = 0; t < entry.numTriangles; ++t) {
    cface face;
    for (std::size_t c = 0; c < 3; ++c) {
      face.v[c] = entry.triangles[t][c];
      face.tv[c] = entry.triangles[t][c];
    }
    mesh.SetFace(t, face);
  }
}

// Normals go into the bones' spaces by rotations alone.
void cskelimport::SetWeights(cskin& skin, const skelsurfentry& entry) {
  const cmatrix4 toWorldRotation = skin.GetTMAtFrame(0, kRotationOnly);
  cvertexwalk walk = mesh_->Vertices(entry);
  for (std::int32_t v = 0; v < entry.numVerts; ++v, walk.Next()) {
    const cpoint3 normal = skin.GetNormal(v) * toWorldRotation;
    int count = 0;
    for (std::int32_t j = 0; j < walk.NumWeights(); ++j) {
      if (const skelWeight& weight = walk.Weights()[j]; HasBone(weight)) {
        const auto bone = static_cast<std::size_t>(weight.boneIndex);
        cskinweight made;
        made.weight = weight.boneWeight;
        made.offset = Offset(weight);
        made.normal = normal * FromWorldRotation(bone);
        made.bone = pBone_[bone].bone;
        skin.SetVertWeight(v, count++, made);
      }
    }
    skin.SetVertNumWeights(v, count);
  }
}

const cmatrix4& cskelimport::FromWorldRotation(std::size_t bone) {
  if (!knownRotation_[bone]) {
    fromWorldRotation_[bone] = Inverse(pBone_[bone].bone->GetTMAtFrame(0, kRotationOnly));
    knownRotation_[bone] = true;
  }
  return fromWorldRotation_[bone];
}
