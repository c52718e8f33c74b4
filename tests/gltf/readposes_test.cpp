#include <cmath>
#include <random>

#include "gltf/readtest.h"
#include "gltf/viewer.h"

namespace {

using nlohmann::json;
using numbers = std::vector<double>;

// A scene put together by chance: a scaled skeleton, meshes on its joints with empties between, a
// skin, meshes of their own.
class anyscene {
 public:
  // Scales that a clip turns must be alike along all axes; those of a scene at rest need not.
  anyscene(unsigned seed, bool moving) : random_(seed), moving_(moving) {
    const int root = Any(-1, Scale(), {});
    std::vector<int> joints;
    for (int i = 0; i < 5; ++i) {
      joints.push_back(Any(i == 0 ? root : joints[random_() % joints.size()], Scale(), {}));
    }
    joints.push_back(Any(joints.back(), Uneven(), {}));
    for (const int joint : {joints[1], joints.back()}) {
      const int between = Any(joint, Uneven(), {});
      Any(between, Uneven(), {{"mesh", Mesh({})}});
    }
    AddSkin(joints);
    const int free = Any(-1, Uneven(), {{"mesh", Mesh({})}});
    Any(free, Uneven(), {{"mesh", Mesh({})}});
    joints.push_back(root);
    joints.push_back(free);
    for (std::size_t clip = 0; moving && clip < 3; ++clip) {
      AddClip(clip, joints);
    }
  }

  gltfmodel model;

 private:
  double Number(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random_);
  }
  numbers Several(std::size_t count, double reach) {
    numbers values(count);
    for (double& value : values) {
      value = Number(-reach, reach);
    }
    return values;
  }
  numbers Even() {
    const double all[] = {1.0, 0.01, 40.0, -1.0, -0.5};
    return numbers(3, all[random_() % 5]);
  }
  numbers Uneven() {
    numbers scale = {Number(0.3, 3.0), Number(0.3, 3.0), Number(0.3, 3.0)};
    for (double& value : scale) {
      value *= random_() % 2 == 0 ? 1.0 : -1.0;
    }
    return random_() % 2 == 0 ? scale : numbers{scale[0] < 1.0 ? -1.0 : 1.0, 1.0, -1.0};
  }
  numbers Scale() { return moving_ || random_() % 2 == 0 ? Even() : Uneven(); }

  int Any(int parent, const numbers& scale, json node) {
    const numbers move = Several(3, 2.0);
    const numbers rotation = Several(4, 1.0);
    if (!moving_ && random_() % 3 == 0) {
      const viewer::matrix m = viewer::FromParts(move, rotation, scale);
      for (std::size_t i = 0; i < 16; ++i) {
        node["matrix"].push_back(m[i % 4][i / 4]);
      }
    } else {
      node["translation"] = move;
      node["rotation"] = rotation;
      node["scale"] = scale;
    }
    return model.Node(node, parent);
  }

  std::vector<float> Floats(std::size_t count, double reach) {
    const numbers values = Several(count, reach);
    return {values.begin(), values.end()};
  }

  int Mesh(json attributes) {
    attributes["POSITION"] = model.Floats("VEC3", Floats(24, 1.0));
    return model.Mesh({{"attributes", attributes},
                       {"indices", model.Bytes("SCALAR", {0, 1, 2, 3, 4, 5, 5, 6, 7})}});
  }

  // Bound in a pose of its own.
  void AddSkin(const std::vector<int>& joints) {
    std::vector<float> inverse;
    for (std::size_t j = 0; j < joints.size(); ++j) {
      const viewer::matrix m =
          viewer::FromParts(Several(3, 2.0), Several(4, 1.0), numbers(3, Number(0.5, 2.0)));
      for (std::size_t i = 0; i < 16; ++i) {
        inverse.push_back(static_cast<float>(m[i % 4][i / 4]));
      }
    }
    model.doc["skins"].push_back(
        {{"joints", joints}, {"inverseBindMatrices", model.Floats("MAT4", inverse)}});
    std::vector<int> indices;
    std::vector<float> weights;
    for (std::size_t i = 0; i < 32; ++i) {
      indices.push_back(static_cast<int>(random_() % joints.size()));
      weights.push_back(i % 4 > 1 && i < 16 ? 0.0F : static_cast<float>(Number(0.1, 0.4)));
    }
    const int mesh = Mesh({{"JOINTS_0", model.Shorts("VEC4", indices)},
                           {"WEIGHTS_0", model.Floats("VEC4", weights)}});
    Any(-1, Uneven(), {{"mesh", mesh}, {"skin", 0}});
  }

  void AddClip(std::size_t clip, const std::vector<int>& nodes) {
    const char* const ways[] = {"LINEAR", "STEP", "CUBICSPLINE"};
    for (const int node : nodes) {
      for (const char* path : {"translation", "rotation"}) {
        if (random_() % 3 == 0) {
          continue;
        }
        std::vector<float> times;
        for (const double time : {0.07, 0.2, 0.41, 0.66}) {
          times.push_back(static_cast<float>(time + Number(0.0, 0.1)));
        }
        const std::string way = ways[random_() % 3];
        const std::size_t each = path[0] == 't' ? 3 : 4;
        model.Channel(clip, node, path, times,
                      Floats(4 * each * (way == "CUBICSPLINE" ? 3 : 1), 1.0), way);
      }
    }
    const json scale = model.doc["nodes"][0]["scale"];
    const auto same = scale.get<std::vector<float>>();
    model.Channel(clip, 0, "scale", {0.1F}, same);
  }

  std::mt19937 random_;
  bool moving_;
};

class ReadPoses : public readtest {
 protected:
  // Every vertex of every surface at every frame against the viewer; gives their number.
  std::size_t Compare(const gltfmodel& model) {
    const viewer seen(model);
    core::clip rest{"rest", 0, 1};
    std::size_t count = 0;
    const json& nodes = model.doc["nodes"];
    std::vector<int> shown;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      if (nodes[i].contains("mesh")) {
        shown.push_back(static_cast<int>(i));
      }
    }
    auto surface = shown.begin();
    for (cnode* node : scene.Nodes()) {
      if (node->GetType() != kNodeMesh && node->GetType() != kNodeSkin) {
        continue;
      }
      cexpmesh list;
      node->GetType() == kNodeMesh ? list.BuildFromMesh(static_cast<cmesh*>(node), 2)
                                   : list.BuildFromSkin(static_cast<cskin*>(node), 2);
      for (std::size_t c = 0; c < std::max<std::size_t>(scene.clips.size(), 1); ++c) {
        const core::clip& clip = scene.clips.empty() ? rest : scene.clips[c];
        const int number = scene.clips.empty() ? -1 : static_cast<int>(c);
        const double length = number < 0 ? 0.0 : seen.Length(number);
        for (int frame = 0; frame < clip.frames; ++frame) {
          list.CalcSkinVertsAtFrame(clip.start + frame, 1, 1);
          const auto places = seen.Places(*surface, 0, number, std::min(frame / how.fps, length));
          EXPECT_EQ(static_cast<std::size_t>(list.numVerts), places.size());
          count +=
              ExpectPlaces(list, node->GetTMAtFrame(clip.start + frame, kWholeTransform), places);
        }
      }
      ++surface;
    }
    EXPECT_EQ(surface, shown.end());
    return count;
  }

  std::size_t ExpectPlaces(const cexpmesh& list, const cmatrix4& world,
                           const std::vector<viewer::point>& places) const {
    for (std::size_t v = 0; v < places.size(); ++v) {
      const cpoint3 got = list.verts[v].pos * world;
      const viewer::point& p = places[v];
      const double allowed =
          1e-5 * how.scale * (40.0 + std::abs(p[0]) + std::abs(p[1]) + std::abs(p[2]));
      EXPECT_NEAR(got.x, p[0] * how.scale, allowed);
      EXPECT_NEAR(got.y, -p[2] * how.scale, allowed);
      EXPECT_NEAR(got.z, p[1] * how.scale, allowed);
    }
    return places.size();
  }

  void ExpectBonesWithoutScale() const {
    for (cnode* node : scene.Nodes()) {
      for (const ckey& key : node->State().track->State().keys) {
        EXPECT_EQ(key.scale.x, 1.0F);
        EXPECT_EQ(key.scale.y, 1.0F);
        EXPECT_EQ(key.scale.z, 1.0F);
      }
    }
  }
};

class AnyScene : public ReadPoses, public testing::WithParamInterface<unsigned> {};

TEST_P(AnyScene, MovesAsAViewerShowsIt) {
  const anyscene any(GetParam(), true);
  how.scale = 3.0;
  ASSERT_TRUE(Read(any.model)) << told.fault;
  EXPECT_TRUE(told.warnings.empty()) << told.warnings.front();
  EXPECT_GT(Compare(any.model), 1000U);
  ExpectBonesWithoutScale();
}

TEST_P(AnyScene, StandsAsAViewerShowsIt) {
  const anyscene any(GetParam(), false);
  ASSERT_TRUE(Read(any.model)) << told.fault;
  EXPECT_GT(Compare(any.model), 30U);
  ExpectBonesWithoutScale();
}

INSTANTIATE_TEST_SUITE_P(Seeds, AnyScene, testing::Range(1U, 13U));

TEST_F(ReadPoses, ScaleThatChangesIsLeftOutAndSaid) {
  gltfmodel model;
  const int root = model.Node({{"name", "root"}, {"extras", {{"bone", true}}}});
  const int arm =
      model.Node({{"name", "arm"}, {"extras", {{"bone", true}}}, {"scale", {2, 2, 2}}}, root);
  model.Node({{"mesh", model.Triangle()}}, arm);
  model.Channel(0, arm, "scale", {0, 1}, {2, 2, 2, 5, 5, 5});
  model.Channel(0, arm, "translation", {0, 1}, {0, 0, 0, 3, 0, 0});
  ASSERT_TRUE(Read(model)) << told.fault;
  ASSERT_EQ(told.warnings.size(), 1U);
  EXPECT_NE(told.warnings[0].find("scale that changes during a clip is left out: arm"),
            std::string::npos);
  ExpectBonesWithoutScale();
  cpoint3 low;
  cpoint3 high;
  scene.Nodes().back()->GetBBoxAtFrame(20, low, high);
  EXPECT_NEAR(low.x, 3.0F, 1e-5F);
  EXPECT_NEAR(high.x, 5.0F, 1e-5F);  // as large as at rest
}

// What a clip says of the scale at all its frames holds, whatever stands at rest.
TEST_F(ReadPoses, TheScaleOfAllClipsIsNoChange) {
  gltfmodel model;
  const int root = model.Node({{"extras", {{"bone", true}}}});
  model.Node({{"mesh", model.Triangle()}}, root);
  model.Channel(0, root, "scale", {0, 1}, {4, 4, 4, 4, 4, 4});
  ASSERT_TRUE(Read(model)) << told.fault;
  EXPECT_TRUE(told.warnings.empty());
  Compare(model);
}

TEST_F(ReadPoses, ClipsLieOneBehindTheOther) {
  gltfmodel model;
  const int a = model.Node({{"name", "a"}, {"translation", {1, 0, 0}}});
  const int b = model.Node({{"name", "b"}, {"translation", {0, 0, 0}}});
  model.Node({{"name", "still"}});
  model.Channel(0, a, "translation", {0, 0.5F}, {1, 0, 0, 2, 0, 0});
  model.Channel(1, b, "rotation", {0, 0.26F}, {0, 0, 0, 1, 0, 0, 0, -1});
  model.Channel(1, b, "translation", {0.05F, 0.1F}, {0, 0, 0, 7, 0, 0}, "STEP");
  model.Channel(2, a, "translation", {0}, {9, 0, 0});
  model.doc["animations"][0]["name"] = "walk";
  how.fps = 10.0;
  ASSERT_TRUE(Read(model)) << told.fault;
  ASSERT_EQ(scene.clips.size(), 3U);
  const core::clip expected[] = {{"walk", 0, 6}, {"animation_1", 6, 4}, {"animation_2", 10, 1}};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(scene.clips[i].name, expected[i].name);
    EXPECT_EQ(scene.clips[i].start, expected[i].start);
    EXPECT_EQ(scene.clips[i].frames, expected[i].frames);
  }
  EXPECT_EQ(scene.animStart, 0);
  EXPECT_EQ(scene.animEnd, 10);
  EXPECT_EQ(scene.ticksPerFrame, 100);
  const auto x = [&](const char* name, int frame) { return Node(name)->GetPosAtFrame(frame).x; };
  EXPECT_NEAR(x("a", 5), 2.0F, 1e-6F);
  EXPECT_NEAR(x("a", 6), 1.0F, 0.0F);  // at rest in the clip that does not move it
  EXPECT_NEAR(x("a", 10), 9.0F, 0.0F);
  EXPECT_NEAR(x("b", 6), 0.0F, 0.0F);
  EXPECT_NEAR(x("b", 7), 7.0F, 0.0F);  // the step at a frame's own time is taken there
  EXPECT_EQ(Node("still")->State().track->State().keys.size(), 1U);
  const std::vector<ckey>& keys = Node("b")->State().track->State().keys;
  ASSERT_EQ(keys.size(), 11U);
  for (const ckey& key : keys) {
    EXPECT_GT(key.rot.w, 0.9F);  // no change of sign between neighbours
  }
}

}  // namespace
