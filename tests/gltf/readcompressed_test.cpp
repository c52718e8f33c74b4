#include <list>
#include <set>

#include "gltf/readtest.h"
#include "samples/packedgltf.h"

namespace {

using nlohmann::json;

class ReadCompressed : public readtest {
 protected:
  // The boxes of all nodes at each frame, and surfaces with the same vertices in the same order;
  // of triangles each may begin with another corner.
  static void ExpectSame(const core::scene& plain, const core::scene& other) {
    ASSERT_EQ(other.Nodes().size(), plain.Nodes().size());
    ASSERT_EQ(other.animEnd, plain.animEnd);
    for (std::size_t i = 0; i < plain.Nodes().size(); ++i) {
      cnode* const node = plain.Nodes()[i];
      for (int frame = 0; frame <= plain.animEnd; ++frame) {
        cpoint3 box[2];
        node->GetBBoxAtFrame(frame, box[0], box[1]);
        ExpectBox(other.Nodes()[i], frame, box[0], box[1], 1e-3F);
      }
      if (node->GetType() == kNodeSkin || node->GetType() == kNodeMesh) {
        ExpectSame(MeshOf(node), MeshOf(other.Nodes()[i]));
      }
    }
  }
  static void ExpectSame(const core::meshstate& plain, const core::meshstate& other) {
    ASSERT_EQ(other.faces.size(), plain.faces.size());
    for (const auto list :
         {&core::meshstate::verts, &core::meshstate::normals, &core::meshstate::tverts}) {
      ASSERT_EQ((other.*list).size(), (plain.*list).size());
      for (std::size_t v = 0; v < (plain.*list).size(); ++v) {
        EXPECT_LT(((plain.*list)[v] - (other.*list)[v]).Length(), 1e-2F);
      }
    }
    for (std::size_t f = 0; f < plain.faces.size(); ++f) {
      const auto corners = [f](const core::meshstate& mesh) {
        return std::set(mesh.faces[f].v, mesh.faces[f].v + 3);
      };
      EXPECT_EQ(corners(other), corners(plain));
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
  // The other method has an order of its own: the oracle compares what another program packs by it.
  gltfmodel packed = DracoGltf(dracomethod::Sequential);
  for (json& accessor : packed.Accessors()) {
    accessor.erase("sparse");
  }
  ExpectSame(whole, Loaded(packed));
  // Two primitives of the same data, the second as a strip, which says more corners.
  json& parts = packed.doc["meshes"][0]["primitives"];
  parts.push_back(parts[0]);
  parts[1]["mode"] = 5;
  ASSERT_TRUE(Read(packed)) << told.fault;
  EXPECT_EQ(MeshOf(Node("body_1")).faces.size(), 2U);
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
