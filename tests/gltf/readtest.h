#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "core/scene.h"
#include "core/state.h"
#include "gltf/gltf.h"
#include "plugin/host/scene.h"
#include "samples/gltfmodel.h"
#include "samples/named.h"
#include "samples/tempdirectory.h"

// A scene that files are read into, once a test.
class readtest : public testing::Test {
 protected:
  bool ReadFile(const std::string& path) { return gltf::ReadScene(path, how, scene, told); }
  bool Read(const gltfmodel& model) { return ReadFile(files.Write("m.glb", model.Binary())); }

  // "TYPE name < parent" of every node, in the scene's order.
  std::vector<std::string> Outline() const {
    std::vector<std::string> lines;
    for (cnode* node : scene.Nodes()) {
      const int type = node->GetType();
      const std::string kind = type == kNodeBone   ? "bone "
                               : type == kNodeSkin ? "skin "
                               : type == kNodeMesh ? "mesh "
                                                   : "empty ";
      cnode* const parent = node->GetParent();
      lines.push_back(kind + node->GetName() +
                      (parent == nullptr ? "" : std::string(" < ") + parent->GetName()));
    }
    return lines;
  }

  cnode* Node(const std::string& name) const { return NodeNamed(scene.Nodes(), name); }

  static void ExpectBox(cnode* node, int frame, const cpoint3& low, const cpoint3& high,
                        float tolerance = 2e-5F) {
    cpoint3 box[2];
    node->GetBBoxAtFrame(frame, box[0], box[1]);
    EXPECT_LT((box[0] - low).Length() + (box[1] - high).Length(), tolerance);
  }

  static const core::meshstate& MeshOf(cnode* node) {
    return node->GetType() == kNodeSkin ? static_cast<cskin*>(node)->Skin().mesh
                                        : static_cast<cmesh*>(node)->Mesh();
  }

  // Why a file cannot be read.
  std::string FaultOf(const std::string& path) const {
    core::scene own;
    gltf::report report;
    EXPECT_FALSE(gltf::ReadScene(path, how, own, report)) << path;
    return report.fault;
  }

  // A change to a good document, by the place's pointer, and the words of the fault.
  struct badvalue {
    std::string place;
    nlohmann::json value;
    std::string fault;
  };
  void ExpectFaults(const gltfmodel& good, const std::vector<badvalue>& cases) const {
    for (const badvalue& each : cases) {
      gltfmodel bad = good;
      bad.doc[nlohmann::json::json_pointer(each.place)] = each.value;
      EXPECT_EQ(FaultOf(files.Write("bad.glb", bad.Binary())), each.fault) << each.place;
    }
  }

  tempdirectory files;
  gltf::options how;
  core::scene scene;
  gltf::report told;
};
