#include <cmath>
#include <list>
#include <set>

#include "gltf/readtest.h"
#include "samples/packedgltf.h"

namespace {

using nlohmann::json;

// A corner of a face, in hundredths, by what tells it whatever its number is.
using corner = std::array<long, 8>;

// The corners of each face, in any order.
std::multiset<std::multiset<corner>> FacesOf(const core::meshstate& mesh) {
  std::multiset<std::multiset<corner>> faces;
  for (const cface& face : mesh.faces) {
    std::multiset<corner> corners;
    for (const std::int32_t v : face.v) {
      const auto at = static_cast<std::size_t>(v);
      const cpoint3& p = mesh.verts[at];
      const cpoint3& n = mesh.normals[at];
      const cpoint3 t = mesh.tverts.empty() ? cpoint3() : mesh.tverts[at];
      corner made;
      std::ranges::transform(std::array{p.x, p.y, p.z, n.x, n.y, n.z, t.x, t.y}, made.begin(),
                             [](float number) { return std::lround(100 * number); });
      corners.insert(made);
    }
    faces.insert(corners);
  }
  return faces;
}

class ReadCompressed : public readtest {
 protected:
  static std::vector<cnode*> Surfaces(const core::scene& of) {
    std::vector<cnode*> list;
    std::ranges::copy_if(of.Nodes(), std::back_inserter(list), [](cnode* node) {
      return node->GetType() == kNodeSkin || node->GetType() == kNodeMesh;
    });
    std::ranges::sort(list, {}, [](cnode* node) { return MeshOf(node).faces.size(); });
    return list;
  }

  // Surfaces, and their boxes at each frame.
  static void ExpectSame(const core::scene& plain, const core::scene& other) {
    const std::vector<cnode*> expected = Surfaces(plain);
    const std::vector<cnode*> found = Surfaces(other);
    ASSERT_EQ(found.size(), expected.size());
    ASSERT_EQ(other.animEnd, plain.animEnd);
    for (std::size_t i = 0; i < expected.size(); ++i) {
      EXPECT_EQ(FacesOf(MeshOf(found[i])), FacesOf(MeshOf(expected[i])));
      EXPECT_EQ(MeshOf(found[i]).verts.size(), MeshOf(expected[i]).verts.size());
      for (int frame = 0; frame <= plain.animEnd; ++frame) {
        cpoint3 box[2];
        cpoint3 again[2];
        expected[i]->GetBBoxAtFrame(frame, box[0], box[1]);
        found[i]->GetBBoxAtFrame(frame, again[0], again[1]);
        EXPECT_LT(std::max((box[0] - again[0]).Length(), (box[1] - again[1]).Length()), 1e-3F)
            << frame;
      }
    }
  }

  // A scene that is there as long as the test.
  const core::scene& Loaded(const std::string& path) {
    gltf::report report;
    EXPECT_TRUE(gltf::ReadScene(path, how, scenes_.emplace_back(), report)) << report.fault;
    return scenes_.back();
  }
  const core::scene& Loaded(const gltfmodel& model) {
    return Loaded(files.Write("m.glb", model.Binary()));
  }

 private:
  std::list<core::scene> scenes_;
};

TEST_F(ReadCompressed, SmallScenesAreTheSame) {
  gltfmodel model = SmallGltf();
  const core::scene& plain = Loaded(model);
  ExpectSame(plain, Loaded(MeshoptGltf("TRIANGLES")));
  ExpectSame(plain, Loaded(MeshoptGltf("INDICES")));
  for (json& accessor : model.Accessors()) {
    accessor.erase("sparse");
  }
  const core::scene& whole = Loaded(model);
  for (const dracomethod method : {dracomethod::Sequential, dracomethod::Edgebreaker}) {
    gltfmodel packed = DracoGltf(method);
    for (json& accessor : packed.Accessors()) {
      accessor.erase("sparse");
    }
    ExpectSame(whole, Loaded(packed));
    // Two primitives of the same data, the second as a strip, which says more corners.
    packed.doc["meshes"][0]["primitives"].push_back(packed.doc["meshes"][0]["primitives"][0]);
    packed.doc["meshes"][0]["primitives"][1]["mode"] = 5;
    EXPECT_EQ(MeshOf(Surfaces(Loaded(packed))[1]).faces.size(), 2U);
  }
}

TEST_F(ReadCompressed, FaultsNameThePlace) {
  const gltfmodel mesh = DracoGltf(dracomethod::Edgebreaker);
  const std::string view = "/bufferViews/1/extensions/EXT_meshopt_compression";
  const std::string part = "/meshes/0/primitives/0/extensions/KHR_draco_mesh_compression";
  const std::string viewPlace = "buffer view 1, extensions, EXT_meshopt_compression: ";
  const std::string partPlace = "mesh 0, primitive 0: ";
  const std::string numIndices =
      "/accessors/" + std::to_string(mesh.doc["meshes"][0]["primitives"][0]["indices"].get<int>()) +
      "/count";
  const std::vector<badvalue> inViews{
      {view + "/mode", "POINTS", viewPlace + "mode \"POINTS\" is unknown"},
      {view + "/filter", "OCTAHEDRAL",
       viewPlace + "byteStride 12 does not fit its mode and filter"},
      {view + "/byteStride", 14, viewPlace + "byteStride 14 does not fit its mode and filter"},
      {view + "/count", 5, viewPlace + "count x byteStride is not the buffer view's byteLength"},
      {view + "/byteLength", 1 << 20, "buffer view 1: its compressed data reach past buffer 0"},
      {view + "/byteLength", 20, "buffer view 1: its compressed data are damaged"},
      {view + "/byteOffset", 0, "buffer view 1: its compressed data are damaged"},
  };
  const std::vector<badvalue> inMeshes{
      {part + "/bufferView", 0, partPlace + "the compressed data are no Draco data"},
      {part + "/bufferView", 99,
       "mesh 0, primitive 0, extensions, KHR_draco_mesh_compression: bufferView: index 99 does not "
       "exist (the file has 21)"},
      {part + "/attributes/NORMAL", 9, partPlace + "the compressed data have no list 9"},
      {part + "/attributes/NORMAL", 3,
       partPlace + "list 3 of the compressed data has 2 components, not 3"},
      {numIndices, 3, partPlace + "the compressed data have 2 triangles, not 1"},
      {"/meshes/0/primitives/0/mode", 1, partPlace + "compressed, but not indexed triangles"},
  };
  ExpectFaults(MeshoptGltf(), inViews);
  ExpectFaults(mesh, inMeshes);
}

}  // namespace
