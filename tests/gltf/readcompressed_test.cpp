#include <cmath>
#include <cstdlib>
#include <list>

#include "gltf/readtest.h"
#include "samples/packedgltf.h"

namespace {

using nlohmann::json;

// Numbers that tell a vertex or a face, whatever its place in a list.
using feature = std::array<float, 8>;

std::vector<feature> VerticesOf(const core::meshstate& mesh) {
  std::vector<feature> list;
  for (std::size_t v = 0; v < mesh.verts.size(); ++v) {
    const cpoint3& p = mesh.verts[v];
    const cpoint3& n = mesh.normals[v];
    const cpoint3 t = mesh.tverts.empty() ? cpoint3() : mesh.tverts[v];
    list.push_back({p.x, p.y, p.z, n.x, n.y, n.z, t.x, t.y});
  }
  return list;
}

// Middle and area.
std::vector<feature> FacesOf(const core::meshstate& mesh) {
  std::vector<feature> list;
  for (const cface& face : mesh.faces) {
    const auto corner = [&](std::size_t c) {
      return mesh.verts[static_cast<std::size_t>(face.v[c])];
    };
    const cpoint3 a = corner(1) - corner(0);
    const cpoint3 b = corner(2) - corner(0);
    const cpoint3 sum = corner(0) + corner(1) + corner(2);
    list.push_back({sum.x / 3, sum.y / 3, sum.z / 3, a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z,
                    a.x * b.y - a.y * b.x, 0, 0});
  }
  return list;
}

// How far the worst of some 200 of a list is from the nearest of the other.
float Distance(const std::vector<feature>& from, const std::vector<feature>& to) {
  float worst = 0.0F;
  for (std::size_t at = 0; at < from.size(); at += 1 + from.size() / 200) {
    const feature& one = from[at];
    float best = INFINITY;
    for (const feature& other : to) {
      float off = 0.0F;
      for (std::size_t i = 0; i < one.size(); ++i) {
        off = std::max(off, std::abs(one[i] - other[i]));
      }
      best = std::min(best, off);
    }
    worst = std::max(worst, best);
  }
  return worst;
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
  static void ExpectSame(const core::scene& plain, const core::scene& other, float rest,
                         float posed) {
    const std::vector<cnode*> expected = Surfaces(plain);
    const std::vector<cnode*> found = Surfaces(other);
    ASSERT_EQ(found.size(), expected.size());
    ASSERT_EQ(other.animEnd, plain.animEnd);
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const core::meshstate& a = MeshOf(expected[i]);
      const core::meshstate& b = MeshOf(found[i]);
      ASSERT_EQ(b.faces.size(), a.faces.size());
      EXPECT_LT(Distance(VerticesOf(a), VerticesOf(b)), rest);
      EXPECT_LT(Distance(VerticesOf(b), VerticesOf(a)), rest);
      EXPECT_LT(Distance(FacesOf(a), FacesOf(b)), rest);
      EXPECT_LT(Distance(FacesOf(b), FacesOf(a)), rest);
      for (int frame = 0; frame <= plain.animEnd; ++frame) {
        cpoint3 box[2];
        cpoint3 again[2];
        expected[i]->GetBBoxAtFrame(frame, box[0], box[1]);
        found[i]->GetBBoxAtFrame(frame, again[0], again[1]);
        EXPECT_LT(std::max((box[0] - again[0]).Length(), (box[1] - again[1]).Length()), posed)
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
  ExpectSame(plain, Loaded(MeshoptGltf("TRIANGLES")), 1e-3F, 1e-3F);
  ExpectSame(plain, Loaded(MeshoptGltf("INDICES")), 1e-3F, 1e-3F);
  for (json& accessor : model.Accessors()) {
    accessor.erase("sparse");
  }
  const core::scene& whole = Loaded(model);
  for (const dracomethod method : {dracomethod::Sequential, dracomethod::Edgebreaker}) {
    gltfmodel packed = DracoGltf(method);
    for (json& accessor : packed.Accessors()) {
      accessor.erase("sparse");
    }
    ExpectSame(whole, Loaded(packed), 1e-3F, 1e-3F);
    // Two primitives of the same data, the second as a strip, which says more corners.
    packed.doc["meshes"][0]["primitives"].push_back(packed.doc["meshes"][0]["primitives"][0]);
    packed.doc["meshes"][0]["primitives"][1]["mode"] = 5;
    EXPECT_EQ(MeshOf(Surfaces(Loaded(packed))[1]).faces.size(), 2U);
  }
}

// What other programs make of the project's sample.
TEST_F(ReadCompressed, TheSampleIsTheSame) {
  const core::scene& plain = Loaded(MARROW_SAMPLE);
  const std::string to = " -i " MARROW_SAMPLE " -o ";
  int numTools = 0;
  // Coordinates in 1/16384, positions in 1/65536 of what they span, normals of 12 bits.
  if (std::system(("gltfpack -c -kn -ke -vp 16 -vn 12 -vt 14 -af 60" + to + files.File("c.glb") +
                   " > /dev/null 2>&1")
                      .c_str()) == 0) {
    ExpectSame(plain, Loaded(files.File("c.glb")), 2e-3F, 2e-2F);
    ++numTools;
  }
  if (std::system(
          ("draco_transcoder -qp 16 -qn 12 -qt 14" + to + files.File("d.glb") + " > /dev/null 2>&1")
              .c_str()) == 0) {
    ExpectSame(plain, Loaded(files.File("d.glb")), 2e-3F, 2e-2F);
    ++numTools;
  }
  if (numTools < 2) {
    GTEST_SKIP() << "gltfpack or draco_transcoder is not here";
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
