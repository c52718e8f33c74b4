#include "command/content/skeletalcontent.h"
#include "command/content/surfaces.h"
#include "command/finish/normals.h"
#include "command/surfaces.h"
#include "command/wording.h"
#include "plugin/host/scene.h"

namespace command {

namespace {

class meshcheck {
 public:
  meshcheck(const cmodelfile& file, const skelmesh& mesh, const bonenumbers& numbers,
            const writtenfrom& from)
      : file_(file), mesh_(mesh), numbers_(numbers), from_(from) {}

  std::string Fault() {
    const std::vector<cskin*> skins = SkinsOf(from_.scene);
    for (std::size_t s = 0; s < skins.size(); ++s) {
      const std::string fault = FaultOfSkin(mesh_.surfaces[s], *skins[s]);
      if (!fault.empty()) {
        return NumberedName("surface", s, skins[s]->GetName()) + ": " + fault;
      }
    }
    return {};
  }

 private:
  std::string FaultOfSkin(const skelsurfentry& entry, cskin& skin) {
    if (!HasName(entry.surface->name, skin.GetName())) {
      return "its name is " + std::string(NameText(entry.surface->name).data());
    }
    if (!IsShader(entry.surface->shader, skin)) {
      return "its shader is not that of the scene";
    }
    cexpmesh mesh;
    mesh.BuildFromSkin(&skin, 2);
    std::string fault = FaultOfCount("vertices", entry.numVerts, mesh.numVerts);
    if (fault.empty()) {
      fault = FaultOfTriangles(entry.triangles, entry.numTriangles, mesh);
    }
    used_.assign(numbers_.Bones().size(), false);
    cvertexwalk walk = mesh_.Vertices(entry);
    for (std::int32_t v = 0; fault.empty() && v < mesh.numVerts; ++v, walk.Next()) {
      fault = HasTexCoords(walk.Vertex().texCoords, mesh.verts[v])
                  ? FaultOfVertex(walk, skin.Skin(), mesh.vertMap.Data()[v])
                  : "has other texture coordinates than in the scene";
      if (!fault.empty()) {
        fault.insert(0, "vertex " + std::to_string(v) + " ");
      }
    }
    return fault.empty() ? FaultOfTables(*entry.surface, mesh.numVerts) : fault;
  }

  std::string FaultOfVertex(const cvertexwalk& walk, const core::skinstate& skin,
                            std::uint32_t source) {
    const core::skinstretch& stretch = skin.stretches[source];
    if (walk.NumWeights() != static_cast<std::int64_t>(stretch.count)) {
      return "has other weights than in the scene";
    }
    for (std::size_t k = 0; k < stretch.count; ++k) {
      const cskinweight& weight = skin.weights[stretch.first + k];
      const skelWeight& found = walk.Weights()[k];
      if (!numbers_.IsNumber(found.boneIndex, weight.bone) ||
          !IsSame(found.boneWeight, weight.weight)) {
        return "has other weights than in the scene";
      }
      if (!AreSame(found.offset, weight.offset)) {
        return "has another offset from its bone than in the scene";
      }
      if (found.boneIndex >= 0) {
        used_[static_cast<std::size_t>(found.boneIndex)] = true;
      }
    }
    const cpoint3 normal = BoneNormal(skin, source);
    return from_.finish.normals && normal.Length() > 0.0F && walk.Weights()->boneIndex >= 0 &&
                   !AreSame(walk.Vertex().normal, normal)
               ? "has another normal than in the scene"
               : "";
  }

  static bool AreSame(const std::array<little<float>, 3>& found, const cpoint3& wanted) {
    return IsSame(found[0], wanted.x) && IsSame(found[1], wanted.y) && IsSame(found[2], wanted.z);
  }

  // What only the games read.
  std::string FaultOfTables(const skelSurface& surface, std::int32_t numVerts) {
    const little<std::int32_t>* list = nullptr;
    if (!file_.Numbers(&surface, surface.ofsCollapseMap, numVerts, list)) {
      return "its collapse map does not lie inside the file";
    }
    for (std::int32_t v = 0; v < numVerts; ++v) {
      if (list[v] < 0 || list[v] > v) {
        return "its collapse map leads from vertex " + std::to_string(v) + " to " +
               std::to_string(list[v]);
      }
    }
    std::vector<std::int32_t> wanted;
    for (std::size_t b = used_.size(); b-- > 0;) {
      if (used_[b]) {
        wanted.push_back(static_cast<std::int32_t>(b));
        if (const std::int32_t parent = numbers_.OfParent(wanted.back()); parent >= 0) {
          used_[static_cast<std::size_t>(parent)] = true;
        }
      }
    }
    std::ranges::reverse(wanted);
    return HasReferences(file_, surface, wanted)
               ? ""
               : "it refers to other bones than its vertices hang on";
  }

  const cmodelfile& file_;
  const skelmesh& mesh_;
  const bonenumbers& numbers_;
  const writtenfrom& from_;
  std::vector<bool> used_;  // by the surface at hand, of the bones
};

}  // namespace

std::string FaultOfMesh(const cmodelfile& file, const skelmesh& mesh, const bonenumbers& numbers,
                        const writtenfrom& from) {
  return meshcheck(file, mesh, numbers, from).Fault();
}

}  // namespace command
