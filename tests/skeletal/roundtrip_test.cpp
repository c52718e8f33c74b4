// From a scene to files and back, by the handlers of the module's registry.

#include <map>
#include <random>

#include "skeletal/exporttest.h"

namespace {

constexpr int kFrames = 6;
// Frames of an imported model, sampled whole.
const std::string kSequence = "all 0 6 0 20\n";

class RoundTrip : public exporttest {
 protected:
  RoundTrip() {
    SetRange(0, kFrames - 1);
    directory.Write("wolfanim.cfg", "STARTANIMS\n" + kSequence);
    directory.Write("Out.aninc", kSequence);
    desk.scripts[101] = [](desktop::scriptedwindow& window) {
      window.Click(1005);
      window.Ok();
    };
    const auto mdx = [this](const cfiledialog& /*dialog*/, std::string& path) {
      path = directory.File("Out.MDX");
      return true;
    };
    desk.onOpenFile = desk.onSaveFile = mdx;
  }

  // A limb of three turning bones with a still tag at its end, in a skin.
  void BuildFigure() {
    std::mt19937 random(5);
    std::uniform_real_distribution<float> degrees(-60.0F, 60.0F);
    cnode* bone = nullptr;
    std::vector<cnode*> bones;
    for (const char* name : {"Bip01", "Bip01 Spine", "Bip01 Neck"}) {
      std::vector<ckey> keys;
      for (int frame = 0; frame < kFrames; ++frame) {
        const cpoint3 at = bone == nullptr ? MakePt3(static_cast<float>(frame), 0.0F, 9.0F)
                                           : MakePt3(8.0F, 1.0F, 2.0F);
        keys.push_back(KeyAt(frame, at, {degrees(random), degrees(random), degrees(random)}));
      }
      bone = AddBone(name, bone, keys);
      bones.push_back(bone);
    }
    AddStill("tag_head", bone, {3.0F, 4.0F, 0.0F}, {10.0F, 20.0F, 30.0F});
    cskin* skin = AddSkin("body", {{1, 2, 3}, {4, 5, 6}, {-3, 2, 1}, {0, 0, 4}},
                          {bones[0], bones[1], bones[2], bones[2]}, {{0, 1, 2}, {2, 1, 3}});
    cskinweight half;
    skin->GetVertWeight(1, 0, half);
    half.weight = 0.5F;
    skin->SetVertWeight(1, 0, half);
    half.bone = bones[2];
    half.offset = MakePt3(-4.0F, 1.0F, 2.0F);
    skin->SetVertWeight(1, 1, half);
  }

  // The body's vertices in the world.
  std::vector<cpoint3> Vertices(int frame) const {
    cnode* body = NodeNamed("body");
    cexpmesh mesh;
    if (body->GetType() == kNodeSkin) {
      mesh.BuildFromSkin(static_cast<cskin*>(body), 2);
      mesh.CalcSkinVertsAtFrame(frame, 1, 1);
    } else {
      mesh.BuildFromMesh(static_cast<cmesh*>(body), 2);
    }
    std::vector<cpoint3> vertices;
    for (int v = 0; v < mesh.numVerts; ++v) {
      vertices.push_back(mesh.verts[v].pos * body->GetTMAtFrame(frame, kWholeTransform));
    }
    return vertices;
  }

  void Reimport(const char* name) {
    NewScene();
    ASSERT_EQ(Import(directory.File(name)), 1);
  }
};

void ExpectPoints(const std::vector<cpoint3>& actual, const std::vector<cpoint3>& expected,
                  float tolerance) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < actual.size(); ++i) {
    ExpectPoint(actual[i], expected[i], tolerance);
  }
}

// As a host's author would try a module: everything that the registry has, by its names.
TEST_F(RoundTrip, EveryHandlerOfTheRegistry) {
  BuildFigure();
  std::vector<std::vector<cpoint3>> want;
  for (int frame = 0; frame < kFrames; ++frame) {
    want.push_back(Vertices(frame));
  }
  std::map<std::string, int> tried;
  for (const module::handler& handler : module->Handlers()) {
    if (handler.exporter != nullptr) {
      const std::string path = directory.File("Out." + handler.extensions[0]);
      EXPECT_EQ(handler.exporter->Export(path.c_str()), 1) << handler.name;
      ++tried[handler.name];
    }
  }
  constexpr int kChosen = 4;
  desk.scripts[102] = [](desktop::scriptedwindow& window) {
    window.Type(1009, std::to_string(kChosen));
    window.Ok();
  };
  for (const module::handler& handler : module->Handlers()) {
    if (handler.importer == nullptr) {
      continue;
    }
    SCOPED_TRACE(handler.name);
    NewScene();
    const std::string path = directory.File("Out." + handler.extensions[0]);
    ASSERT_EQ(handler.importer->Import(path.c_str()), 1);
    ++tried[handler.name];
    if (handler.extensions[0] == "mdc") {
      ExpectPoints(Vertices(0), want[kChosen], 1.0F / 64.0F);
      continue;
    }
    for (int frame = 0; frame < kFrames; ++frame) {
      ExpectPoints(Vertices(frame), want[static_cast<std::size_t>(frame)], 0.01F);
    }
  }
  EXPECT_EQ(tried, (std::map<std::string, int>{
                       {"RTCW mdc", 2}, {"RTCW mds", 2}, {"RTCW-ET mdm", 2}, {"RTCW-ET mdx", 1}}));
}

void ExpectSameSkeleton(const skelrig& actual, const skelrig& expected) {
  ASSERT_EQ(actual.numBones, expected.numBones);
  ASSERT_EQ(actual.frames.size(), expected.frames.size());
  for (int b = 0; b < expected.numBones; ++b) {
    EXPECT_EQ(actual.bones[b].name, expected.bones[b].name);
    EXPECT_EQ(actual.bones[b].parent, expected.bones[b].parent);
    EXPECT_EQ(actual.bones[b].flags, expected.bones[b].flags);
    EXPECT_NEAR(actual.bones[b].parentDist, expected.bones[b].parentDist,
                1e-5F * expected.bones[b].parentDist);
    for (std::size_t f = 0; f < expected.frames.size(); ++f) {
      const skelBoneFrame& pose = skelrig::BoneFrames(actual.frames[f])[b];
      const skelBoneFrame& old = skelrig::BoneFrames(expected.frames[f])[b];
      for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(pose.angles[i], old.angles[i], 1) << "bone " << b << " frame " << f;
        EXPECT_NEAR(pose.ofsAngles[i % 2], old.ofsAngles[i % 2], 1)
            << "bone " << b << " frame " << f;
      }
    }
  }
}

void ExpectSameMesh(const skelmesh& actual, const skelmesh& expected) {
  ASSERT_EQ(actual.surfaces.size(), expected.surfaces.size());
  for (std::size_t s = 0; s < expected.surfaces.size(); ++s) {
    const skelSurface& surface = *expected.surfaces[s].surface;
    EXPECT_EQ(actual.surfaces[s].surface->name, surface.name);
    EXPECT_EQ(BoneReferences(*actual.surfaces[s].surface), BoneReferences(surface));
    ASSERT_EQ(actual.surfaces[s].surface->ofsEnd, surface.ofsEnd);
    cvertexwalk vertex = actual.Vertices(actual.surfaces[s]);
    cvertexwalk old = expected.Vertices(expected.surfaces[s]);
    for (int v = 0; v < surface.numVerts; ++v, vertex.Next(), old.Next()) {
      const auto numWeights = static_cast<std::size_t>(old.Vertex().numWeights);
      ASSERT_EQ(vertex.Vertex().numWeights, old.Vertex().numWeights);
      EXPECT_EQ(0, std::memcmp(&vertex.Vertex().texCoords, &old.Vertex().texCoords, 8));
      EXPECT_EQ(0, std::memcmp(vertex.Weights(), old.Weights(), numWeights * sizeof(skelWeight)));
    }
    EXPECT_EQ(0,
              std::memcmp(actual.surfaces[s].triangles, expected.surfaces[s].triangles,
                          static_cast<std::size_t>(surface.numTriangles) * sizeof(skelTriangle)));
  }
}

TEST_F(RoundTrip, MdsThroughASceneAndBack) {
  BuildFigure();
  const auto first = Mds();
  Reimport("Out.MDS");
  const auto second = Mds();
  ExpectSameSkeleton(*second, *first);
  ExpectSameMesh(*second, *first);
  EXPECT_EQ(second->header->numTags, 1);
}

// And through the pair, where the tag is no bone, with the tag at its place in every frame.
TEST_F(RoundTrip, MdsThroughThePairAndBack) {
  BuildFigure();
  const auto first = Mds();
  Reimport("Out.MDS");
  const auto mdm = Mdm();
  const auto mdx = Mdx();
  Reimport("Out.MDM");
  const auto mdmAgain = Mdm();
  ExpectSameSkeleton(*Mdx(), *mdx);
  ExpectSameMesh(*mdmAgain, *mdm);
  ASSERT_EQ(mdmAgain->tags.size(), 1U);
  const mdmTag& tag = *mdmAgain->tags[0];
  const mdmTag& old = *mdm->tags[0];
  EXPECT_EQ(tag.boneIndex, old.boneIndex);
  EXPECT_EQ(tag.numBoneReferences, old.numBoneReferences);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(tag.offset[i], old.offset[i], 1e-5F * 5.0F);
    for (std::size_t j = 0; j < 3; ++j) {
      EXPECT_NEAR(tag.axis[i][j], old.axis[i][j], 1e-5F);
    }
  }
  const auto last = Mds();
  ExpectSameMesh(*last, *first);
  ASSERT_EQ(last->numBones, first->numBones);
  for (std::size_t f = 0; f < kFrames; ++f) {
    const placedbone place = Decode(*last, f)[3];
    const placedbone want = Decode(*first, f)[3];
    for (std::size_t i = 0; i < 3; ++i) {
      // Steps of four bones on a way of 22 units.
      EXPECT_NEAR(place.position[i], want.position[i], 0.01);
      for (std::size_t j = 0; j < 3; ++j) {
        EXPECT_NEAR(place.rows[i][j], want.rows[i][j], 5e-4);
      }
    }
  }
}

}  // namespace
