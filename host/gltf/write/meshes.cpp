#include "gltf/write/meshes.h"

#include <algorithm>
#include <cmath>

#include "core/box.h"
#include "core/state.h"
#include "gltf/convention.h"
#include "gltf/write/fault.h"
#include "gltf/write/utf8.h"

namespace gltf {

namespace {

// Weights and joints stand in sets of this many.
constexpr std::size_t kSet = 4;

class meshwriter {
 public:
  meshwriter(const skinning& skins, const options& how, scenefile& file)
      : skins_(skins), scale_(how.scale), axes_(how.front), file_(file) {}

  // -1: there is no triangle to show.
  int Write(cnode& node, int material) {
    cexpmesh mesh;
    const bool skin = node.GetType() == kNodeSkin;
    const bool textured = skin ? !static_cast<cskin&>(node).Skin().mesh.tverts.empty()
                               : !static_cast<cmesh&>(node).Mesh().tverts.empty();
    if (skin) {
      mesh.BuildFromSkin(&static_cast<cskin&>(node), 2);
    } else {
      mesh.BuildFromMesh(&static_cast<cmesh&>(node), 2);
    }
    if (mesh.numFaces == 0) {
      return -1;
    }
    const auto index = static_cast<std::size_t>(node.State().index);
    ordered_json attributes;
    const core::meshstate* const morphed = MorphedMesh(node, skins_);
    const bool turns = morphed != nullptr &&
                       std::ranges::any_of(morphed->targets, [](const core::morphtarget& target) {
                         return !target.normals.empty();
                       });
    WriteVertices(node, mesh, index, textured, turns, attributes);
    if (skins_.IsSkinned(index)) {
      WriteWeights(mesh, index, attributes);
    }
    ordered_json primitive = {{"attributes", std::move(attributes)}, {"indices", Indices(mesh)}};
    if (material >= 0) {
      primitive["material"] = material;
    }
    ordered_json entry;
    if (!node.State().name.empty()) {
      entry["name"] = ToUtf8(node.State().name);
    }
    if (morphed != nullptr) {
      WriteTargets(*morphed, mesh, primitive, entry);
    }
    entry["primitives"].push_back(std::move(primitive));
    return file_.Add("meshes", std::move(entry));
  }

 private:
  void Put(const core::vec3& v, std::vector<float>& values) {
    const cpoint3 p = core::ToPoint(axes_.ToFile(v));
    values.push_back(p.x);
    values.push_back(p.y);
    values.push_back(p.z);
  }

  int Vertices(const std::vector<float>& values, const char* type,
               scenefile::bounds wanted = scenefile::bounds::None) {
    return file_.AddFloats(file_.AddView(scenefile::use::Vertices), values, type, wanted);
  }

  // Normals that targets turn are in bytes as theirs are, so that a target can take them away
  // whole.
  void WriteVertices(const cnode& node, const cexpmesh& mesh, std::size_t index, bool textured,
                     bool turns, ordered_json& attributes) {
    const auto count = static_cast<std::size_t>(mesh.numVerts);
    std::vector<float> places;
    std::vector<float> normals;
    std::vector<float> coordinates;
    places.reserve(3 * count);
    normals.reserve(3 * count);
    coordinates.reserve(textured ? 2 * count : 0);
    for (std::size_t i = 0; i < count; ++i) {
      const cexpvert& vertex = mesh.verts[i];
      core::vec3 place = core::ToVec(vertex.pos);
      core::vec3 normal = core::Unit(core::ToVec(vertex.normal));
      if (skins_.IsSkinned(index)) {
        const std::size_t source = mesh.vertMap.Data()[i];
        place = skins_.RestPlace(index, source);
        const core::vec3 blended = core::Unit(skins_.RestNormal(index, source));
        normal = core::IsZero(blended) ? normal : blended;
      }
      Put(place * (1.0 / scale_), places);
      Put(core::IsZero(normal) ? core::vec3{0.0, 0.0, 1.0} : normal, normals);
      if (textured) {
        coordinates.insert(coordinates.end(), {vertex.u, vertex.v});
      }
    }
    CheckFinite(node, places, 3, "vertex");
    CheckFinite(node, coordinates, 2, "texture vertex");
    attributes["POSITION"] = Vertices(places, "VEC3", scenefile::bounds::Written);
    attributes["NORMAL"] =
        turns ? file_.AddPacked(normals, scenefile::packing::Int8, scenefile::bounds::None)
              : Vertices(normals, "VEC3");
    if (textured) {
      attributes["TEXCOORD_0"] = Vertices(coordinates, "VEC2");
    }
  }

  void WriteTargets(const core::meshstate& from, const cexpmesh& mesh, ordered_json& primitive,
                    ordered_json& entry) {
    const float extent = LargestExtent(from.verts) / static_cast<float>(scale_);
    std::vector<std::string> names;
    for (const core::morphtarget& target : from.targets) {
      ordered_json made;
      made["POSITION"] = Displacements(target.positions, mesh, extent);
      if (!target.normals.empty()) {
        made["NORMAL"] = NormalDisplacements(target.normals, mesh);
      }
      primitive["targets"].push_back(std::move(made));
      names.push_back(ToUtf8(target.name));
    }
    entry["weights"] = std::vector<float>(from.targets.size(), 0.0F);
    entry["extras"] = {{"targetNames", names}};
  }

  // Of a target, for each vertex of the file. Good until the next call.
  const std::vector<float>& Spread(const std::vector<cpoint3>& from, const cexpmesh& mesh,
                                   double scale) {
    spread_.clear();
    spread_.reserve(3 * static_cast<std::size_t>(mesh.numVerts));
    for (std::int32_t i = 0; i < mesh.numVerts; ++i) {
      const std::uint32_t source = mesh.vertMap.Data()[i];
      Put(source < from.size() ? core::ToVec(from[source]) * scale : core::vec3{}, spread_);
    }
    return spread_;
  }

  // In shorts, which take 8 bytes in place of 12, where their steps are fine against the mesh.
  int Displacements(const std::vector<cpoint3>& from, const cexpmesh& mesh, float extent) {
    constexpr float kShortStep = 1.0F / 32767.0F;
    constexpr float kFinest = 1e-4F;  // of the mesh, for a whole step
    if (from.empty()) {
      return file_.AddZeros(static_cast<std::size_t>(mesh.numVerts));
    }
    const std::vector<float>& values = Spread(from, mesh, 1.0 / scale_);
    return WithinOne(values) && kShortStep <= kFinest * extent
               ? file_.AddPacked(values, scenefile::packing::Int16, scenefile::bounds::Written)
               : Vertices(values, "VEC3", scenefile::bounds::Written);
  }

  // In bytes, which turn a normal by up to 0.4 degrees, where they hold the differences: two unit
  // vectors may differ by up to 2.
  int NormalDisplacements(const std::vector<cpoint3>& from, const cexpmesh& mesh) {
    const std::vector<float>& values = Spread(from, mesh, 1.0);
    return WithinOne(values)
               ? file_.AddPacked(values, scenefile::packing::Int8, scenefile::bounds::None)
               : Vertices(values, "VEC3");
  }

  static bool WithinOne(const std::vector<float>& values) {
    return std::ranges::all_of(values, [](float value) { return std::abs(value) <= 1.0F; });
  }

  static float LargestExtent(const std::vector<cpoint3>& points) {
    cpoint3 low;
    cpoint3 high;
    core::BoxOf(points, low, high);
    const cpoint3 size = high - low;
    return std::max({size.x, size.y, size.z});
  }

  static void CheckFinite(const cnode& node, const std::vector<float>& values,
                          std::size_t components, const char* what) {
    const auto bad = std::find_if(values.begin(), values.end(),
                                  [](float value) { return !std::isfinite(value); });
    if (bad != values.end()) {
      const std::size_t at = static_cast<std::size_t>(bad - values.begin()) / components;
      throw writefault("node \"" + node.State().name + "\": " + what + " " + std::to_string(at) +
                       " is not a finite number");
    }
  }

  void WriteWeights(const cexpmesh& mesh, std::size_t index, ordered_json& attributes) {
    const auto count = static_cast<std::size_t>(mesh.numVerts);
    const std::uint32_t* source = mesh.vertMap.Data();
    std::size_t most = 1;
    for (std::size_t i = 0; i < count; ++i) {
      most = std::max(most, skins_.Weights(index, source[i]).size());
    }
    std::vector<std::uint32_t> joints(kSet * count);
    std::vector<float> weights(kSet * count);
    for (std::size_t first = 0; first < most; first += kSet) {
      std::fill(joints.begin(), joints.end(), 0U);
      std::fill(weights.begin(), weights.end(), 0.0F);
      for (std::size_t i = 0; i < count; ++i) {
        const auto all = skins_.Weights(index, source[i]);
        for (std::size_t k = first; k < std::min(first + kSet, all.size()); ++k) {
          joints[kSet * i + k - first] = all[k].joint;
          weights[kSet * i + k - first] = static_cast<float>(all[k].weight);
        }
      }
      const std::string number = std::to_string(first / kSet);
      attributes["JOINTS_" + number] = file_.AddJoints(joints);
      attributes["WEIGHTS_" + number] = Vertices(weights, "VEC4");
    }
  }

  int Indices(const cexpmesh& mesh) {
    std::vector<std::uint32_t> indices;
    indices.reserve(3 * static_cast<std::size_t>(mesh.numFaces));
    for (std::int32_t f = 0; f < mesh.faceFlags.count; ++f) {
      if (mesh.faceFlags[f] == 0) {
        const std::uint32_t* corners = mesh.faces.Data() + 3 * static_cast<std::ptrdiff_t>(f);
        for (std::size_t c = 0; c < 3; ++c) {
          indices.push_back(corners[OtherCorner(c)]);
        }
      }
    }
    return file_.AddIndices(indices);
  }

  const skinning& skins_;
  double scale_;
  axismap axes_;
  scenefile& file_;
  std::vector<float> spread_;
};

}  // namespace

const core::meshstate* MorphedMesh(const cnode& node, const skinning& skins) {
  const core::nodestate& state = node.State();
  if (state.type != kNodeSkin || skins.IsSkinned(static_cast<std::size_t>(state.index))) {
    return nullptr;
  }
  const core::meshstate& mesh = static_cast<const cskin&>(node).Skin().mesh;
  return mesh.morph != nullptr && !mesh.targets.empty() ? &mesh : nullptr;
}

std::vector<int> WriteMeshes(const core::scene& scene, const skinning& skins,
                             const std::unordered_map<const cmaterial*, int>& materials,
                             const options& how, scenefile& file,
                             std::vector<std::string>& warnings) {
  std::vector<int> meshes(scene.Nodes().size(), -1);
  meshwriter writer(skins, how, file);
  std::string morphedSkins;
  for (std::size_t i = 0; i < meshes.size(); ++i) {
    cnode& node = *scene.Nodes()[i];
    if (node.GetType() != kNodeMesh && node.GetType() != kNodeSkin) {
      continue;
    }
    const auto material = materials.find(node.GetMaterial());
    meshes[i] = writer.Write(node, material == materials.end() ? -1 : material->second);
    if (node.GetType() == kNodeSkin && skins.IsSkinned(i) &&
        static_cast<const cskin&>(node).Skin().mesh.morph != nullptr) {
      morphedSkins += (morphedSkins.empty() ? "" : ", ") + node.State().name;
    }
    if (meshes[i] < 0) {
      warnings.push_back("\"" + node.State().name +
                         "\" has no triangles and is written as a node without a mesh");
    }
  }
  if (!morphedSkins.empty()) {
    warnings.push_back("morph targets of skins with joints are left out: " + morphedSkins);
  }
  return meshes;
}

}  // namespace gltf
