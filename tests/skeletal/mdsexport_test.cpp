// The mds exporter through the loaded module: skeleton, frames and surfaces as a game reads them.

#include <bit>
#include <random>

#include "skeletal/exporttest.h"

namespace {

using MdsExport = exporttest;

using framehead = std::array<float, 13>;

TEST_F(MdsExport, BonesTagsAndFramesSeenFromTheOrigin) {
  AddDummy("mover", nullptr, {KeyAt(0, {1.0F, 2.0F, 3.0F}), KeyAt(4, {9.0F, 9.0F, 9.0F})});
  cbone* top = AddBone("Bip01", nullptr, {KeyAt(0, {}), KeyAt(4, {8.0F, 0.0F, 0.0F})});
  AddStill("TAG_Back", top, {0.0F, 3.0F, 4.0F});
  cbone* spine = AddStill("Bip01 Spine1", top, {2.0F, 0.0F, 0.0F});
  AddStill("bip01 Head", AddDummy("between", spine, {}), {1.0F, 0.0F, 0.0F});
  cbone* flagged = AddStill("tag_torso", spine, {1.0F, 0.0F, 0.0F});
  flagged->State().flags = kNodeFlagNoBone;
  AddStill(std::string(70, 'n').c_str(), flagged, {1.0F, 0.0F, 0.0F});
  AddBone("l hand", spine, {KeyAt(0, {1.0F, 0.0F, 0.0F}), KeyAt(4, {9.0F, 0.0F, 0.0F})});
  AddTriangle("box");
  SetRange(2, 4, "mover");
  const auto model = Mds();
  const struct {
    std::string name;
    int parent;
    float torsoWeight, parentDist;
    int flags;
  } rows[] = {{"Bip01", -1, 0.0F, 0.0F, 0},       {"TAG_Back", 0, 1.0F, 5.0F, 1},
              {"Bip01 Spine1", 0, 0.3F, 2.0F, 0}, {"bip01 Head", -1, 0.0F, 0.0F, 0},
              {"tag_torso", 2, 0.0F, 1.0F, 1},    {std::string(63, 'n'), -1, 0.0F, 0.0F, 0},
              {"l hand", 2, 1.0F, 1.0F, 0}};
  ASSERT_EQ(model->numBones, std::ssize(rows));
  for (std::size_t b = 0; b < std::size(rows); ++b) {
    const mdsBoneInfo& bone = model->bones[b];
    EXPECT_EQ(Text(bone.name), rows[b].name);
    EXPECT_EQ(bone.parent, rows[b].parent) << rows[b].name;
    EXPECT_EQ(bone.torsoWeight, rows[b].torsoWeight) << rows[b].name;
    EXPECT_EQ(bone.parentDist, rows[b].parentDist) << rows[b].name;
    EXPECT_EQ(bone.flags, rows[b].flags) << rows[b].name;
  }
  ASSERT_EQ(model->header->numTags, 2);
  EXPECT_EQ(Text(model->tags[0].name), "TAG_Back");
  EXPECT_EQ(model->tags[0].torsoWeight, 0.85F) << "not that of the bone";
  EXPECT_EQ(model->tags[1].boneIndex, 4);
  ASSERT_EQ(model->frames.size(), 3U);
  EXPECT_EQ(std::bit_cast<framehead>(*model->frames[0]),
            (framehead{-1, -2, -3, 0, 0, -3, 1, 2, 3, 2, 3, -2, -3}));
  EXPECT_EQ(model->frames[2]->parentOffset[0], 7.0F);
  EXPECT_EQ(log.Texts()[3], "Calculating Frame: 2 of 3\n");
}

// The number counts tag bones in mds and leaves them out in mdx.
TEST_F(MdsExport, TorsoParentByName) {
  struct row {
    std::vector<const char*> names;
    int mds, mdx;
  };
  for (const row& row : {row{{"Bip01", "tag_x", "Bip01 Spine1", "a spine SPINE", "Spine"}, 4, 3},
                         row{{"a", "tag_x", "Bip01 Spine", "Bip01"}, 2, 1},
                         row{{"a", "Bip01 Spine1", "tag_x", "BIPxx", "bip02"}, 3, 2},
                         row{{"a", "tag_x", "Bip01 Pelvis"}, 0, 0}}) {
    NewScene();
    for (const char* name : row.names) {
      AddStill(name, nullptr, {});
    }
    EXPECT_EQ(Mds()->header->torsoParent, row.mds) << row.names.back();
    EXPECT_EQ(Mdx()->header->torsoParent, row.mdx) << row.names.back();
  }
}

// Each stored angle is truncated by less than one unit.
constexpr double kUnit = 2.0 * std::numbers::pi / 65536.0;

TEST_F(MdsExport, PosesAreThoseOfTheScene) {
  std::mt19937 random(7);
  std::uniform_real_distribution<float> degrees(-180.0F, 180.0F);
  constexpr int kLast = 40;
  const auto turning = [&](const cpoint3& at) {
    std::vector<ckey> keys;
    for (int frame = 0; frame <= kLast; ++frame) {
      keys.push_back(KeyAt(frame, at, {degrees(random), degrees(random), degrees(random)}));
    }
    return keys;
  };
  // All under one top bone: the format has a place for that of the first one only.
  cbone* top = AddStill("top", nullptr, {5.0F, 6.0F, 7.0F});
  cnode* last = top;
  for (const char* name : {"a", "b", "c"}) {
    last = AddBone(name, last, turning({3.0F, -2.0F, 1.0F}));
  }
  AddBone("mirrored child", AddBone("mirror", top, {KeyAt(0, {}, {}, {-1.0F, 1.0F, 1.0F})}),
          turning({1.0F, 2.0F, 3.0F}));
  AddBone("scaled", AddBone("scale", top, {KeyAt(0, {}, {}, {3.0F, 3.0F, 3.0F})}), turning({}));
  for (const cpoint3& at : std::initializer_list<cpoint3>{
           {0, 0, 4}, {0, 0, -4}, {0, 4, 0}, {0, -4, 0}, {-4, 0, 0}, {0, 0, 0}}) {
    AddStill("axis", top, at);
  }
  for (const cpoint3& angles : std::initializer_list<cpoint3>{{90, 30, 10},
                                                              {-90, 30, 10},
                                                              {0, 180, 0},
                                                              {0, -180, 180},
                                                              {180, 0, -180},
                                                              {89.9F, 17, -33}}) {
    AddStill("turn", top, {1.0F, 1.0F, 1.0F}, angles);
  }
  SetRange(0, kLast);
  const auto model = Mds();
  for (int frame = 0; frame <= kLast; ++frame) {
    const auto placed = Decode(*model, static_cast<std::size_t>(frame));
    std::vector<double> reach;
    for (std::size_t b = 0; b < placed.size(); ++b) {
      const mdsBoneInfo& bone = model->bones[b];
      SCOPED_TRACE(Text(bone.name) + " in frame " + std::to_string(frame));
      const cmatrix4 want = scene->Nodes()[b]->GetTMAtFrame(frame, kWholeTransform);
      const double scale = want.GetRow3(0).Length();
      double turned = 0.0;
      double moved = 0.0;
      for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
          turned += std::pow(placed[b].rows[i][j] - want.m[i][j] / scale, 2);
        }
        moved += std::pow(placed[b].position[i] - want.m[3][i], 2);
      }
      if (!Text(bone.name).starts_with("mirror")) {  // no rotation is a mirror
        // Near the vertical, two of the three angles are about the same axis.
        EXPECT_LE(std::sqrt(turned / 2.0), std::sqrt(2.0 * 2.0 + 1.0) * kUnit);
      }
      // The two angles of each bone on the way.
      reach.push_back((bone.parent < 0 ? 1e-5 : reach[static_cast<std::size_t>(bone.parent)]) +
                      1.42 * kUnit * double{bone.parentDist} + 1e-6);
      EXPECT_LE(std::sqrt(moved), reach[b]);
    }
  }
}

TEST_F(MdsExport, SurfacesKeepWhatTheSkinHas) {
  std::vector<cnode*> bones;
  for (const int parent : {-1, -1, 0, 1, 1, 2, 3, 0}) {
    bones.push_back(AddStill("bone", parent < 0 ? nullptr : bones[static_cast<std::size_t>(parent)],
                             {1.0F, 0.0F, 0.0F}));
  }
  cskin* skin = AddSkin("body", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {bones[7], bones[7], bones[7]},
                        {{0, 1, 2}, {0, 1, 9}, {2, 1, 0}});
  SetKeys(*skin, {KeyAt(0, {}, {90.0F, 0.0F, 0.0F})});
  cskinweight weight{0.25F, {1.0F, 2.0F, 3.0F}, {}, bones[5]};
  skin->SetVertWeight(0, 1, weight);
  weight.bone = AddDummy("no bone", nullptr, {});
  skin->SetVertWeight(0, 2, weight);
  skin->SetVertNumWeights(1, 0);
  const auto model = Mds();
  const skelsurfentry& body = model->surfaces.at(0);
  EXPECT_EQ(Text(body.surface->shader), "");
  EXPECT_EQ(BoneReferences(*body.surface), (numbers{0, 2, 5, 7}));
  EXPECT_EQ(NumbersAt(body.surface, body.surface->ofsCollapseMap, 3), (numbers{0, 0, 0}));
  EXPECT_EQ(NumbersAt(body.triangles, 0, 3 * body.surface->numTriangles),
            (numbers{0, 1, 2, 2, 1, 0}))
      << "the face with a flag has no place in the list";
  cvertexwalk vertex = model->Vertices(body);
  ASSERT_EQ(vertex.Vertex().numWeights, 3);
  const mdsWeight stored{5, 0.25F, {1.0F, 2.0F, 3.0F}};
  EXPECT_EQ(std::memcmp(&vertex.Weights()[1], &stored, sizeof stored), 0);
  EXPECT_EQ(vertex.Weights()[2].boneIndex, -1);
  vertex.Next();
  EXPECT_EQ(vertex.Vertex().numWeights, 0);
  const cpoint3 normal = skin->GetNormal(1) * skin->GetTMAtFrame(0, kRotationOnly);
  ASSERT_NEAR(std::fabs(normal.x), 1.0F, 1e-6F) << "a level face, stood up by the skin's node";
  EXPECT_NEAR(vertex.Vertex().normal[0], normal.x, 1e-6F);
  EXPECT_EQ(vertex.Vertex().texCoords[0], 0.125F);
  EXPECT_EQ(vertex.Vertex().texCoords[1], 0.875F);
}

TEST_F(MdsExport, SeventeenSurfacesWithTheirShaders) {
  const std::vector<std::pair<const char*, std::string>> paths{
      {"c:\\game\\models\\players\\a.TGA", "models\\players\\a.tga"},
      {"c:\\work\\a.tga", "models/a.tga"},
      {"c:\\supermodels\\a.tga", "models\\a.tga"},
      {"c:/x\\y.tga", "models/x\\y.tga"},
      {"<EMPTY>", "(null)"}};
  cbone* bones[] = {AddStill("even", nullptr, {}), AddStill("odd", nullptr, {})};
  for (int i = 0; i < 17; ++i) {
    cskin* skin = AddSkin(std::to_string(i), {{0, 0, 0}}, {bones[i % 2]}, {});
    skin->SetMaterial(AddMaterial("m", paths[static_cast<std::size_t>(i) % paths.size()].first));
  }
  const auto model = Mds();
  ASSERT_EQ(model->surfaces.size(), 17U);
  for (std::size_t i = 0; i < model->surfaces.size(); ++i) {
    const skelSurface& surface = *model->surfaces[i].surface;
    EXPECT_EQ(Text(surface.name), std::to_string(i));
    EXPECT_EQ(Text(surface.shader), paths[i % paths.size()].second);
    EXPECT_EQ(BoneReferences(surface), numbers{static_cast<int>(i % 2)});
  }
  EXPECT_EQ(log.steps.back(), (progressstep{"Creating Surface: 16\n", 19, 18}));
}

TEST_F(MdsExport, SizesOfTheThreeFilesAndOfScenesThatLackSomething) {
  cbone* bone = AddStill("bone", nullptr, {1.0F, 2.0F, 3.0F});
  SetRange(3, 7);
  const framehead noBox{1e5F, 1e5F, 1e5F, -1e5F, -1e5F, -1e5F, 0, 0, 0, -2e5F, 1, 2, 3};
  EXPECT_EQ(std::bit_cast<framehead>(*Mds()->frames[4]), noBox);
  AddStill("tag_a", bone, {});
  AddSkin("body", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {bone, bone, bone}, {{0, 1, 2}});
  constexpr unsigned kSurface = 176 + 3 * 20 + 12 + 3 * 4 + 4;  // without its vertices
  EXPECT_EQ(Mds()->Size(), 120U + 5 * (52 + 2 * 12) + 2 * 80 + kSurface + 3 * 32 + 72);
  EXPECT_EQ(Mdm()->Size(), 100U + kSurface + 3 * 24 + 132);
  EXPECT_EQ(Mdx()->Size(), 96U + 5 * (52 + 12) + 80);
  NewScene();
  AddTriangle("no bone, no skin");
  EXPECT_EQ(Mds()->Size(), 120U);
  EXPECT_EQ(Mds()->header->numFrames, 5);
  EXPECT_EQ(log.Texts(), std::vector<std::string>{"Static"});
}

}  // namespace
