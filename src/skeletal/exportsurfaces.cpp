#include "skeletal/exportsurfaces.h"

#include <algorithm>
#include <utility>

#include "plugin/run/progress.h"
#include "sampling/names.h"
#include "sampling/triangles.h"

namespace {

constexpr char kNoImageShader[] = "(null)";

class surfacebuilder {
 public:
  surfacebuilder(const bonelist& list, const std::vector<expbone>& Bones)
      : list_(list), bones_(Bones) {}

  void BuildSurfaceFromSkin(expsurface& surface, cskin& skin) {
    cexpmesh mesh;
    mesh.BuildFromSkin(&skin, 2);
    surface.triangles.reserve(static_cast<std::size_t>(std::max(mesh.numFaces, 0)));
    ForEachTriangle(mesh, skin.numFaces, [&](std::int32_t a, std::int32_t b, std::int32_t c) {
      surface.triangles.push_back({a, b, c});
    });
    boneUse_.assign(bones_.size(), 0);
    BuildVertices(surface, skin, mesh);
    BuildBoneReferences(surface);
    surface.header.numVerts = mesh.numVerts;
    surface.header.numTriangles = static_cast<std::int32_t>(surface.triangles.size());
  }

 private:
  void BuildVertices(expsurface& surface, cskin& skin, const cexpmesh& mesh) {
    const cmatrix4 rotation = skin.GetTMAtFrame(0, kRotationOnly);
    const auto numVerts = static_cast<std::size_t>(std::max(mesh.numVerts, 0));
    surface.verts.resize(numVerts);
    surface.collapseMap.resize(numVerts);
    for (std::int32_t v = 0; v < mesh.numVerts; ++v) {
      array_assert(static_cast<int>(v < mesh.vertsBound));
      cpoint3 normal = rotation * mesh.verts[v].normal;
      normal.Normalize();
      skelVertex& vertex = surface.verts[static_cast<std::size_t>(v)];
      vertex.normal = {normal.x, normal.y, normal.z};
      vertex.texCoords = {mesh.verts[v].u, mesh.verts[v].v};
      const int source = static_cast<int>(mesh.vertMap[v]);
      const int numWeights = std::max(skin.GetVertNumWeights(source), 0);
      vertex.numWeights = numWeights;
      for (int k = 0; k < numWeights; ++k) {
        cskinweight weight;
        skin.GetVertWeight(source, k, weight);
        surface.weights.push_back(StoredWeight(weight));
      }
    }
  }

  skelWeight StoredWeight(const cskinweight& weight) {
    const int boneIndex = list_.GetBoneIndex(weight.bone);
    if (boneIndex >= 0) {
      boneUse_[static_cast<std::size_t>(boneIndex)] = 1;
    }
    return {boneIndex, weight.weight, {weight.offset.x, weight.offset.y, weight.offset.z}};
  }

  // Parents stand before their children, so one pass from the end reaches every ancestor.
  void BuildBoneReferences(expsurface& surface) {
    for (std::size_t b = boneUse_.size(); b-- > 0;) {
      const std::int32_t parent = bones_[b].info.parent;
      if (boneUse_[b] != 0 && parent >= 0) {
        boneUse_[static_cast<std::size_t>(parent)] = 1;
      }
    }
    for (std::size_t b = 0; b < boneUse_.size(); ++b) {
      if (boneUse_[b] != 0) {
        surface.boneReferences.emplace_back(static_cast<std::int32_t>(b));
      }
    }
    surface.header.numBoneReferences = static_cast<std::int32_t>(surface.boneReferences.size());
  }

  const bonelist& list_;
  const std::vector<expbone>& bones_;
  // Nonzero for a bone that the surface at hand refers to.
  std::vector<unsigned char> boneUse_;
};

void SetShader(skelSurface& header, cmaterial& material) {
  const auto path = ImagePath(material);
  SetName(header.shader,
          IsNoImage(path.data()) ? kNoImageShader : MakeShaderName(path.data()).c_str());
}

}  // namespace

void CollectSurfaces(const bonelist& list, const std::vector<expbone>& Bones, std::int32_t ident,
                     const char* source, cprogress& progress, expsurfaces& Surfaces) {
  surfacebuilder builder(list, Bones);
  const int numNodes = Interface::NumNodes();
  progress.SetRange(numNodes);
  progress.SetPosition(0);
  for (int i = 0; i < numNodes; ++i) {
    cnode* node = Interface::GetNodeAt(i);
    if (node->GetType() != kNodeSkin) {
      continue;
    }
    progress.SetText("Creating Surface: %s\n", node->GetName());
    progress.SetPosition(i);
    MakeRoom(Surfaces, {"Surfaces", source}, {"surfs", source});
    auto surface = std::make_unique<expsurface>();
    SetName(surface->header.name, node->GetName());
    surface->header.ident = ident;
    if (cmaterial* material = node->GetMaterial(); material != nullptr) {
      SetShader(surface->header, *material);
    }
    builder.BuildSurfaceFromSkin(*surface, *static_cast<cskin*>(node));
    Surfaces.push_back(std::move(surface));
  }
}
