// The mds exporter through the loaded module: skeleton, frames and surfaces as a game reads them.

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <tuple>

#include "skeletal/exporttest.h"

namespace {

using MdsExport = exporttest;

using framehead = std::array<float, 13>;

TEST_F(MdsExport, BonesTagsAndFramesSeenFromTheOrigin) {
  AddDummy("mover", nullptr, {KeyAt(0, {1, 2, 3}), KeyAt(4, {9, 9, 9})});
  cbone* top = AddBone("Bip01", nullptr, {KeyAt(0, {}), KeyAt(4, {8, 0, 0})});
  AddStill("TAG_Back", top, {0, 3, 4}, {0.004F, 0.004F, 0.004F});
  cbone* spine = AddBone("Bip01 Spine1", top, {KeyAt(0, {2, 0, 0}, {}, {2, 2, 2})});
  AddStill("bip01 Head", AddDummy("between", spine, {}), {1, 0, 0});
  cbone* flagged = AddStill("tag_torso", spine, {1, 0, 0});
  core::SetFlags(*flagged, kNodeFlagNoBone);
  AddStill(std::string(70, 'n').c_str(), flagged, {1, 0, 0});
  AddBone("l hand", spine, {KeyAt(0, {1, 0, 0}), KeyAt(4, {9, 0, 0})});
  for (const char* name : {"Bip01 Spine3", "tag_chest", "Bip01 R Finger42"}) {
    AddStill(name, nullptr, {});
  }
  AddSkin("box", {{0, 0, 0}, {1, 0, 0}, {0, 2, 0}}, {top, top, top}, {{0, 1, 2}});
  SetRange(2, 4, "mover");
  const auto model = Mds();
  using row = std::tuple<std::string, int, float, float, int>;  // as a record has them
  std::vector<row> rows;
  for (int b = 0; b < model->numBones; ++b) {
    const mdsBoneInfo& bone = model->bones[b];
    rows.emplace_back(Text(bone.name), bone.parent, bone.torsoWeight, bone.parentDist, bone.flags);
  }
  EXPECT_EQ(rows, (std::vector<row>{{"Bip01", -1, 0.0F, 0.0F, 0},
                                    {"TAG_Back", 0, 1.0F, 5.0F, 1},
                                    {"Bip01 Spine1", 0, 0.3F, 2.0F, 0},
                                    {"bip01 Head", -1, 0.0F, 0.0F, 0},
                                    {"tag_torso", 2, 0.0F, 1.0F, 1},
                                    {std::string(63, 'n'), -1, 0.0F, 0.0F, 0},
                                    {"l hand", 2, 1.0F, 1.0F, 0},
                                    {"Bip01 Spine3", -1, 0.85F, 0.0F, 0},
                                    {"tag_chest", -1, 1.0F, 0.0F, 1},
                                    {"Bip01 R Finger42", -1, 1.0F, 0.0F, 0}}));
  ASSERT_EQ(model->header->numTags, 3);
  EXPECT_EQ(Text(model->tags[0].name), "TAG_Back");
  EXPECT_EQ(model->tags[0].torsoWeight, 0.85F) << "not that of the bone";
  EXPECT_EQ(model->tags[1].boneIndex, 4);
  EXPECT_EQ(model->tags[2].torsoWeight, 0.55F);
  ASSERT_EQ(model->frames.size(), 3U);
  EXPECT_EQ(std::bit_cast<framehead>(*model->frames[0]),
            (framehead{3, -2, -3, 4, 0, -3, 1, 2, 3, 2, 3, -2, -3}));
  EXPECT_EQ(NumbersAt(model->frames[0], sizeof(mdsFrame) + sizeof(mdsBoneFrame), 2), numbers(2))
      << "less than a step";
  EXPECT_EQ(model->frames[2]->parentOffset[0], 7.0F);
  EXPECT_EQ(log.Texts()[3], "Calculating Frame: 2 of 3\n");
  EXPECT_EQ(Text(model->header->name), "out.mds");
}

// Pitch and yaw of the direction from the parent in steps of the file, minus the angles.
TEST_F(MdsExport, DirectionsFromTheParent) {
  struct row {
    cpoint3 position;
    int pitch, yaw;
  };
  const row rows[] = {{{3, 0, 0}, 0, 0},      {{0, 3, 0}, 0, 16384},  {{-2, -2, 0}, 0, -24576},
                      {{1, 0, 1}, -8192, 0},  {{0, 0, -5}, 16384, 0}, {{0, 0, 5}, -16384, 0},
                      {{0, 0, 0}, -16384, 0}, {{1e-30F, 0, 0}, 0, 0}, {{1e30F, 1e30F, 0}, 0, 8192}};
  cbone* root = AddStill("root", nullptr, {});
  for (const row& row : rows) {
    AddStill("bone", root, row.position);
  }
  const auto model = Mds();
  const mdsBoneFrame* bone = skelrig::BoneFrames(model->frames.at(0)) + 1;
  for (const row& row : rows) {
    EXPECT_EQ(int{bone->ofsAngles[0]}, row.pitch) << row.position.x << ", " << row.position.z;
    EXPECT_EQ(int{bone->ofsAngles[1]}, row.yaw) << row.position.x << ", " << row.position.y;
    ++bone;
  }
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

TEST_F(MdsExport, SurfacesKeepWhatTheSkinHas) {
  std::vector<cnode*> bones{nullptr};
  for (int b = 0; b < 3; ++b) {
    bones.push_back(AddStill("bone", bones.back(), {1, 0, 0}));
  }
  AddStill("not of the skin", bones[1], {1, 0, 0});
  cskin* skin = AddSkin("body", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {bones[3], bones[3], bones[3]},
                        {{0, 1, 2}, {0, 1, 9}, {2, 1, 0}});
  core::SetKeys(*skin, {KeyAt(0, {5, 6, 7}, {90, 0, 0})});
  skin->SetVertWeight(0, 1, {0.25F, {1, 2, 3}, {}, bones[2]});
  skin->SetVertWeight(0, 2, {0.25F, {1, 2, 3}, {}, AddDummy("no bone", nullptr, {})});
  skin->SetVertNumWeights(1, 0);
  const auto model = Mds();
  const skelsurfentry& body = model->surfaces.at(0);
  EXPECT_EQ(Text(body.surface->shader), "");
  EXPECT_EQ(NumbersAt(body.surface, 132, 2), numbers(2)) << "shaderIndex and minLod";
  EXPECT_EQ(BoneReferences(*body.surface), (numbers{0, 1, 2}));
  EXPECT_EQ(NumbersAt(body.triangles, 0, 3 * body.surface->numTriangles),
            (numbers{0, 1, 2, 2, 1, 0}))
      << "the face with a flag has no place in the list";
  cvertexwalk vertex = model->Vertices(body);
  ASSERT_EQ(vertex.Vertex().numWeights, 3);
  const mdsWeight stored[] = {{1, 0.25F, {1, 2, 3}}, {-1, 0.25F, {1, 2, 3}}};
  EXPECT_EQ(std::memcmp(&vertex.Weights()[1], stored, sizeof stored), 0);
  vertex.Next();
  EXPECT_EQ(vertex.Vertex().numWeights, 0);
  const cpoint3 normal = skin->GetNormal(1) * skin->GetTMAtFrame(0, kRotationOnly);
  ASSERT_NEAR(std::fabs(normal.x), 1.0F, 1e-6F) << "a level face, stood up by the skin's node";
  EXPECT_NEAR(vertex.Vertex().normal[0], normal.x, 1e-6F);
}

TEST_F(MdsExport, SeventeenSurfacesWithTheirShaders) {
  const std::vector<std::pair<const char*, std::string>> paths{
      {"c:\\game\\models\\players\\a.TGA", "models\\players\\a.tga"},
      {"c:\\work\\a.tga", "models/a.tga"},
      {"c:\\supermodels\\a.tga", "models\\a.tga"},
      {"c:/x\\y.tga", "models/x\\y.tga"},
      {"", "models/"},
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

TEST_F(MdsExport, ScenesThatLackSomething) {
  AddStill("bone", nullptr, {1, 2, 3});
  SetRange(3, 7);
  const framehead noBox{1e5F, 1e5F, 1e5F, -1e5F, -1e5F, -1e5F, 0, 0, 0, -2e5F, 1, 2, 3};
  EXPECT_EQ(std::bit_cast<framehead>(*Mds()->frames[4]), noBox);
  NewScene();
  AddTriangle("no bone, no skin");
  EXPECT_EQ(Mds()->Size(), 120U);
  EXPECT_EQ(Mds()->header->numFrames, 5);
  EXPECT_EQ(log.Texts(), std::vector<std::string>{"Static"});
  AddStill("tag_a", AddStill("tag_b", nullptr, {}), {});
  EXPECT_EQ(Mdm()->Size(), 100U) << "tags alone are no skeleton";
  EXPECT_EQ(Mdx()->Size(), 96U);
  EXPECT_EQ(Mdx()->header->numFrames, 5);
}

}  // namespace
