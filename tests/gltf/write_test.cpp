#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>
#include <nlohmann/json.hpp>

#if !defined(_WIN32)
#include <sys/resource.h>

#include <csignal>
#endif

#include "gltf/figure.h"
#include "gltf/gltf.h"
#include "samples/bytes.h"
#include "samples/tempdirectory.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

// A binary file taken apart: its document, and the bytes of a buffer view.
struct opened {
  explicit opened(const std::string& path) : content(ReadBytes(path)) {
    const auto length = static_cast<std::ptrdiff_t>(content.at(12) | content.at(13) << 8 |
                                                    content.at(14) << 16 | content.at(15) << 24);
    doc = json::parse(content.begin() + 20, content.begin() + 20 + length);
    data = 28 + length;
  }
  bytes View(const json& index) const {
    const json& view = doc["bufferViews"][index.get<std::size_t>()];
    const auto first = content.begin() + data + view["byteOffset"].get<std::ptrdiff_t>();
    return {first, first + view["byteLength"].get<std::ptrdiff_t>()};
  }

  bytes content;
  json doc;
  std::ptrdiff_t data;
};

class gltfwrite : public testing::Test {
 protected:
  gltfwrite() { core::scene::MakeCurrent(&scene); }

  bool Write(const std::string& name, const gltf::options& how = {}) {
    told = {};
    return gltf::WriteScene(scene, directory.File(name), how, told);
  }
  // The names of the files in the directory, joined.
  std::string Files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory.Path())) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    std::string all;
    for (const std::string& name : names) {
      all += name + " ";
    }
    return all;
  }

  tempdirectory directory;
  core::scene scene;
  gltf::report told;
};

void ExpectSameWeights(cskin& before, cskin& after) {
  ASSERT_EQ(after.Skin().mesh.verts.size(), before.Skin().mesh.verts.size());
  ASSERT_EQ(after.numFaces, before.numFaces);
  for (int v = 0; v < static_cast<int>(before.Skin().mesh.verts.size()); ++v) {
    const auto at = static_cast<std::size_t>(v);
    EXPECT_EQ(after.Skin().mesh.tverts[at].x, before.Skin().mesh.tverts[at].x);
    ASSERT_EQ(after.GetVertNumWeights(v), before.GetVertNumWeights(v));
    for (int w = 0; w < before.GetVertNumWeights(v); ++w) {
      cskinweight was;
      cskinweight is;
      before.GetVertWeight(v, w, was);
      after.GetVertWeight(v, w, is);
      EXPECT_EQ(is.bone->State().index, was.bone->State().index);
      EXPECT_NEAR(is.weight, was.weight, 1e-7F);
      EXPECT_LT((is.offset - was.offset).Length(), 6e-4F);  // 1e-5 of the height
    }
  }
}

// An importer takes out of the file what was put into it.
TEST_F(gltfwrite, WhatIsWrittenReadsBack) {
  const figure made = AddFigure();
  AddDummy("tag_head", made.bones[2], {KeyAt(0, MakePt3(0.0F, 0.0F, 6.0F))});
  cmaterial* cloth = AddMaterial("cloth", "models\\cloth.tga");
  cloth->State().doubleSided = true;
  made.body->SetMaterial(cloth);
  std::vector<pull> nine;  // weights of a vertex take more than one set of four
  for (std::size_t i = 0; i < 9; ++i) {
    nine.push_back({i, i == 8 ? 0.2F : 0.1F});
  }
  AddBoundSkin("nine", {{}, MakePt3(8.0F, 0.0F, 0.0F), MakePt3(0.0F, 8.0F, 0.0F)},
               {nine, {{0, 1.0F}}, nine}, made.bones, made.binds);
  scene.notes = "two\nlines\n";
  scene.clips = {{"stand", 0, 1}, {"walk", 1, 20}, {"hold", 21, 10}};
  const gltf::options how{40.0, 24.0};
  ASSERT_TRUE(Write("figure.glb", how)) << told.fault;
  EXPECT_TRUE(told.warnings.empty());
  EXPECT_LT(told.bind.largest, 6e-4);  // 1e-5 of the height

  core::scene again;
  gltf::report read;
  ASSERT_TRUE(gltf::ReadScene(directory.File("figure.glb"), how, again, read)) << read.fault;
  EXPECT_TRUE(read.warnings.empty());
  EXPECT_EQ(again.notes, scene.notes);
  EXPECT_EQ(again.animEnd, 30);
  ASSERT_EQ(again.clips.size(), scene.clips.size());
  for (std::size_t c = 0; c < again.clips.size(); ++c) {
    EXPECT_EQ(again.clips[c].name, scene.clips[c].name);
    EXPECT_EQ(again.clips[c].start, scene.clips[c].start);
    EXPECT_EQ(again.clips[c].frames, scene.clips[c].frames);
  }
  ASSERT_EQ(again.Nodes().size(), scene.Nodes().size());
  for (std::size_t i = 0; i < again.Nodes().size(); ++i) {
    cnode& before = *scene.Nodes()[i];
    cnode& after = *again.Nodes()[i];
    EXPECT_STREQ(after.GetName(), before.GetName());
    if (before.GetType() != core::kNodeDummy) {  // a tag comes back as a bone
      EXPECT_EQ(after.GetType(), before.GetType());
    }
    EXPECT_EQ(after.GetParent() == nullptr ? -1 : after.GetParent()->State().index,
              before.GetParent() == nullptr ? -1 : before.GetParent()->State().index);
    for (int frame = 0; frame <= 30; frame += 5) {
      const cmatrix4 was = before.GetTMAtFrame(frame, kWholeTransform);
      const cmatrix4 is = after.GetTMAtFrame(frame, kWholeTransform);
      for (int row = 0; row < 3; ++row) {
        ExpectPoint(is.GetRow3(row), was.GetRow3(row), 2e-6F);
      }
      ExpectPoint(is.GetTrans(), was.GetTrans(), 1e-4F);
    }
    if (before.GetType() == kNodeSkin) {
      ExpectSameWeights(static_cast<cskin&>(before), static_cast<cskin&>(after));
    }
  }
  cmaterial* material =
      again.Nodes()[static_cast<std::size_t>(made.body->State().index)]->GetMaterial();
  char path[512];
  material->GetImage(0)->GetPathName(path);
  EXPECT_STREQ(path, "models\\cloth.tga");
  EXPECT_TRUE(material->State().doubleSided);
}

// Single precision cannot tell the times of a long clip from whole frames any more.
TEST_F(gltfwrite, ALongClipKeepsItsFrames) {
  constexpr int kFrames = 20000;
  std::vector<ckey> keys;
  for (int frame = 0; frame < kFrames; ++frame) {
    keys.push_back(KeyAt(frame, MakePt3(static_cast<float>(frame % 97), 0.0F, 0.0F)));
  }
  AddBone("bone", nullptr, keys);
  scene.animEnd = kFrames;
  for (const double fps : {20.0, 24.0, 30.0, 29.97}) {
    ASSERT_TRUE(Write("long.glb", {1.0, fps})) << told.fault;
    core::scene again;
    gltf::report read;
    ASSERT_TRUE(gltf::ReadScene(directory.File("long.glb"), {1.0, fps}, again, read)) << read.fault;
    EXPECT_EQ(again.animEnd, kFrames - 1);
    ASSERT_EQ(again.clips.size(), 1U);
    EXPECT_EQ(again.clips[0].frames, kFrames);
    for (const int frame : {1, 777, 12345, 19998, 19999}) {
      EXPECT_EQ(again.Nodes()[0]->GetPosAtFrame(frame).x, static_cast<float>(frame % 97)) << fps;
    }
  }
}

// What does not change costs nothing, and every clip says all that another clip changes.
TEST_F(gltfwrite, ClipsHaveChannelsForWhatMovesInAnyOfThem) {
  AddBone("still", nullptr,
          {KeyAt(0, MakePt3(1.0F, 0.0F, 0.0F)), KeyAt(9, MakePt3(1.0F, 0.0F, 0.0F))});
  AddBone("turns", nullptr,
          {KeyAt(0, {}), KeyAt(4, {}), KeyAt(8, {}, MakePt3(0.0F, 300.0F, 0.0F))});
  scene.clips = {{"none", 0, 4}, {"some", 4, 5}, {"one", 8, 1}};
  ASSERT_TRUE(Write("clips.glb")) << told.fault;
  const opened file(directory.File("clips.glb"));
  ASSERT_EQ(file.doc["animations"].size(), 3U);
  const int keys[] = {2, 5, 1};  // the first holds still, as long as it lasts
  for (std::size_t c = 0; c < 3; ++c) {
    const json& animation = file.doc["animations"][c];
    ASSERT_EQ(animation["channels"].size(), 1U) << c;
    EXPECT_EQ(animation["channels"][0]["target"], json({{"node", 1}, {"path", "rotation"}}));
    const json& sampler = animation["samplers"][0];
    EXPECT_EQ(file.doc["accessors"][sampler["input"].get<std::size_t>()]["count"], keys[c]);
    EXPECT_EQ(file.doc["accessors"][sampler["output"].get<std::size_t>()]["count"], keys[c]);
  }
  // Neighbouring keys are on one side of the sphere of quaternions, so that a viewer that does
  // not mind the shorter way takes it all the same.
  scene.clips = {{"whole", 0, 9}};
  SetKeys(*scene.Nodes()[1], {KeyAt(0, {}), KeyAt(8, {}, MakePt3(0.0F, 0.0F, 170.0F))});
  scene.Nodes()[1]->State().track->State().keys[1].rot.w *= -1.0F;
  scene.Nodes()[1]->State().track->State().keys[1].rot.z *= -1.0F;
  scene.Invalidate();
  ASSERT_TRUE(Write("signs.glb"));
  const opened signs(directory.File("signs.glb"));
  const json& output = signs.doc["animations"][0]["samplers"][0]["output"];
  const json& accessor = signs.doc["accessors"][output.get<std::size_t>()];
  const bytereader view(signs.View(accessor["bufferView"]));
  const std::size_t first = accessor.value("byteOffset", std::size_t{0});
  for (std::size_t k = 1; k < 9; ++k) {
    double dot = 0.0;
    for (std::size_t i = 0; i < 4; ++i) {
      dot += view.F32(first + 16 * k + 4 * i) * view.F32(first + 16 * (k - 1) + 4 * i);
    }
    EXPECT_GT(dot, 0.9) << k;
  }
}

// A file wants the joints of a skin under one node, and skins without a transform.
TEST_F(gltfwrite, JointsOfSeveralTreesHangOnOneNode) {
  cnode* first = AddBone("first", nullptr, {KeyAt(0, MakePt3(1.0F, 2.0F, 3.0F))});
  cnode* second = AddBone("second", nullptr, {KeyAt(0, MakePt3(4.0F, 5.0F, 6.0F))});
  cskin* skin =
      AddBoundSkin("skin", {{}, MakePt3(8.0F, 0.0F, 0.0F), MakePt3(0.0F, 8.0F, 0.0F)},
                   {{{0, 1.0F}}, {{1, 1.0F}}, {}}, {first, second}, std::vector<cmatrix4>(2));
  SetKeys(*skin, {KeyAt(0, MakePt3(0.0F, 0.0F, 9.0F))});
  ASSERT_TRUE(Write("trees.glb")) << told.fault;
  const json doc = opened(directory.File("trees.glb")).doc;
  ASSERT_EQ(doc["nodes"].size(), 5U);
  EXPECT_EQ(doc["nodes"][2], json({{"name", "skin"}, {"mesh", 0}, {"skin", 0}}));
  EXPECT_EQ(doc["nodes"][3], json({{"name", "skin place"}, {"translation", {0.0, 9.0, 0.0}}}));
  EXPECT_EQ(doc["nodes"][4], json({{"name", "skeleton"}, {"children", {0, 1, 3}}}));
  EXPECT_EQ(doc["scenes"][0]["nodes"], json({2, 4}));
  EXPECT_EQ(doc["skins"][0]["joints"], json({0, 1, 3}));
  core::scene again;
  ASSERT_TRUE(gltf::ReadScene(directory.File("trees.glb"), {}, again, told)) << told.fault;
  for (cnode* node : again.Nodes()) {
    if (node->GetType() == kNodeSkin) {
      const std::vector<cpoint3> places = PlacesAt(*node, 0);
      for (std::size_t v = 0; v < places.size(); ++v) {
        ExpectPoint(places[v], PlacesAt(*skin, 0)[v], 1e-5F);
      }
    }
  }
}

TEST_F(gltfwrite, WeightsThatNoFileCanHoldAreMadeFitAndTold) {
  cnode* bone = AddBone("bone", nullptr, {KeyAt(0, {})});
  cskin* skin = AddSkin("skin",
                        {MakePt3(0.0F, 0.0F, 0.0F), MakePt3(8.0F, 0.0F, 0.0F),
                         MakePt3(0.0F, 8.0F, 0.0F), MakePt3(0.0F, 0.0F, 8.0F)},
                        {bone, bone, bone, bone}, {{0, 1, 2}, {0, 2, 3}});
  cbone* foreign = CreateNewBone();
  const auto add = [skin](int vertex, float weight, cnode* joint) {
    cskinweight made;
    skin->GetVertWeight(vertex, 0, made);
    made.weight = weight;
    made.bone = joint;
    skin->SetVertWeight(vertex, skin->GetVertNumWeights(vertex), made);
  };
  add(0, 0.5F, foreign);
  add(1, -0.5F, bone);
  add(2, 0.5F, bone);
  add(3, 0.0F, bone);
  add(3, 0.5F, nullptr);
  ASSERT_TRUE(Write("weights.glb")) << told.fault;
  EXPECT_EQ(
      told.warnings,
      (std::vector<std::string>{
          "1 weight on a bone outside the scene is left out", "1 weight below 0 is left out",
          "1 vertex has weights that do not sum up to 1, and is written with weights that do"}));
  core::scene again;
  ASSERT_TRUE(gltf::ReadScene(directory.File("weights.glb"), {}, again, told)) << told.fault;
  auto& read = static_cast<cskin&>(*again.Nodes()[1]);
  for (int v = 0; v < 4; ++v) {
    cskinweight weight;
    ASSERT_EQ(read.GetVertNumWeights(v), 1);
    read.GetVertWeight(v, 0, weight);
    EXPECT_EQ(weight.weight, 1.0F);
  }
  foreign->Destroy();
}

// One vertex that two bones see 6 units apart: it rests between them.
// An import gives the weights the normals of the first frame's joints and the mesh the pose of the
// last frame.
TEST_F(gltfwrite, NormalsAreThoseOfTheMeshsOwnPose) {
  const ckey keys[] = {KeyAt(0, {}), KeyAt(1, {}, MakePt3(90.0F, 0.0F, 0.0F))};
  cbone* bone = CreateNewBone();
  bone->anim.SetNumKeys(2, 0);
  for (int i = 0; i < 2; ++i) {
    ckey key = keys[i];
    bone->anim.SetKeyAt(i, key, 0);
  }
  bone->UpdateAnim();
  Interface::AddToScene(bone, 0);
  scene.animEnd = 2;
  const cmatrix4 last = bone->GetTMAtFrame(1, kWholeTransform);
  cskin* skin = AddBoundSkin("flag", {MakePt3(0, 0, 0), MakePt3(2, 0, 0), MakePt3(0, 3, 0)},
                             {{{0, 1.0F}}, {{0, 1.0F}}, {{0, 1.0F}}}, {bone}, {last});
  ASSERT_EQ(skin->Skin().mesh.normals[0].z, 1.0F);
  cskinweight weight;
  for (int v = 0; v < 3; ++v) {
    skin->GetVertWeight(v, 0, weight);
    weight.normal = MakePt3(0.0F, 0.0F, 1.0F);
    skin->SetVertWeight(v, 0, weight);
  }
  ASSERT_TRUE(Write("flag.glb")) << told.fault;

  core::scene again;
  gltf::report read;
  ASSERT_TRUE(gltf::ReadScene(directory.File("flag.glb"), {}, again, read)) << read.fault;
  cexpmesh mesh;
  mesh.BuildFromSkin(static_cast<cskin*>(again.Nodes()[1]), 2);
  mesh.CalcSkinVertsAtFrame(1, 1, 1);
  const cpoint3 normal = mesh.verts[0].normal;
  EXPECT_NEAR(normal.z, 1.0F, 1e-5F) << normal.x << " " << normal.y;
}

TEST_F(gltfwrite, OffsetsWithoutABindPoseAreMeasured) {
  cnode* left = AddBone("left", nullptr, {KeyAt(0, {})});
  cnode* right = AddBone("right", left, {KeyAt(0, {})});
  const std::vector<cpoint3> places{{}, MakePt3(30.0F, 0.0F, 0.0F), MakePt3(0.0F, 30.0F, 0.0F)};
  std::vector<std::vector<pull>> weights(3, {{0, 0.5F}, {1, 0.5F}});
  cskin* skin = AddBoundSkin("skin", places, weights, {left, right}, std::vector<cmatrix4>(2));
  for (const float aside : {4.0F, -4.0F}) {
    cskinweight weight;
    const int vertex = aside > 0.0F ? 1 : 2;
    skin->GetVertWeight(vertex, 1, weight);
    weight.offset = weight.offset + MakePt3(0.0F, 0.0F, aside);
    skin->SetVertWeight(vertex, 1, weight);
  }
  ASSERT_TRUE(Write("apart.glb")) << told.fault;
  EXPECT_GT(told.bind.largest, 0.05);
  EXPECT_LT(told.bind.largest, 2.0);
  EXPECT_GT(told.bind.mean, 0.0);
  EXPECT_LT(told.bind.mean, told.bind.largest);
}

TEST_F(gltfwrite, ImagesPassUnchangedOrAsPng) {
  const bytes tga = {0, 0, 2, 0,  0,    0, 0, 0, 0,   0,  0,  0,  2,
                     0, 1, 0, 32, 0x28, 1, 2, 3, 255, 40, 50, 60, 128};
  cimage painted;
  ASSERT_NE(painted.Load(directory.Write("a.tga", tga).c_str()), 0);
  AddMaterial("first")->SetImage(painted, 0);
  AddMaterial("second")->SetImage(painted, 0);
  AddMaterial("third", "only/a/path.jpg");
  AddMaterial("fourth", "<Empty>");
  ASSERT_TRUE(Write("painted.glb")) << told.fault;
  const opened file(directory.File("painted.glb"));
  ASSERT_EQ(file.doc["images"].size(), 1U);
  EXPECT_EQ(file.doc["images"][0]["mimeType"], "image/png");
  const bytes png = file.View(file.doc["images"][0]["bufferView"]);
  cimage back;
  ASSERT_NE(back.Load(directory.Write("back.png", png).c_str()), 0);
  EXPECT_EQ(back.State().content->rgba, painted.State().content->rgba);
  EXPECT_EQ(file.doc["materials"][2]["extras"]["game_path"], "only/a/path.jpg");
  EXPECT_FALSE(file.doc["materials"][2]["pbrMetallicRoughness"].contains("baseColorTexture"));
  EXPECT_FALSE(file.doc["materials"][3].contains("extras"));

  // What was a PNG already goes byte for byte, here into a file beside the document.
  scene.Materials()[0]->SetImage(back, 0);
  ASSERT_TRUE(Write("beside.gltf")) << told.fault;
  EXPECT_EQ(Files(), "a.tga back.png beside.gltf beside_0.png beside_1.png painted.glb ");
  EXPECT_EQ(ReadBytes(directory.File("beside_0.png")), png);
}

TEST_F(gltfwrite, AFaultLeavesTheOldFile) {
  cmesh* mesh = AddTriangle("broken");
  directory.Write("old.glb", std::string("old"));
  struct {
    const char* fault;
    std::function<void()> breakIt;
    std::function<void()> mend;
  } const cases[] = {
      {"node \"broken\": vertex 1 is not a finite number",
       [&] { mesh->SetVert(1, MakePt3(0.0F, NAN, 0.0F)); },
       [&] { mesh->SetVert(1, MakePt3(0.0F, 3.0F, 0.0F)); }},
      {"node \"broken\": its transform is not a finite one at frame 0",
       [&] {
         SetKeys(*mesh, {KeyAt(0, MakePt3(std::numeric_limits<float>::infinity(), 0.0F, 0.0F))});
       },
       [&] { SetKeys(*mesh, {}); }},
  };
  for (const auto& each : cases) {
    each.breakIt();
    EXPECT_FALSE(Write("old.glb"));
    EXPECT_EQ(told.fault, each.fault);
    EXPECT_EQ(ReadBytes(directory.File("old.glb")), bytes({'o', 'l', 'd'}));
    each.mend();
  }
  EXPECT_FALSE(gltf::WriteScene(scene, directory.Path() + "/missing/old.glb", {}, told));
  EXPECT_EQ(told.fault.find("\"old.glb\" cannot be written: "), 0U) << told.fault;
  fs::create_directory(directory.File("folder.glb"));
  EXPECT_FALSE(Write("folder.glb"));
  EXPECT_EQ(told.fault, "\"folder.glb\" is there and no file that can be replaced");
  EXPECT_EQ(Files(), "folder.glb old.glb ");
  EXPECT_TRUE(Write("old.glb")) << told.fault;
  EXPECT_EQ(Files(), "folder.glb old.glb ");
}

#if !defined(_WIN32)
TEST_F(gltfwrite, AFullDiskLeavesTheOldFiles) {
  AddFigure();
  directory.Write("old.gltf", std::string("old"));
  directory.Write("old.bin", std::string("old"));
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit tight{4096, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &tight);
  const bool written = Write("old.gltf");
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_FALSE(written);
  EXPECT_EQ(told.fault.find("\"old.bin\" cannot be written: "), 0U) << told.fault;
  EXPECT_EQ(ReadBytes(directory.File("old.gltf")), bytes({'o', 'l', 'd'}));
  EXPECT_EQ(ReadBytes(directory.File("old.bin")), bytes({'o', 'l', 'd'}));
  EXPECT_EQ(Files(), "old.bin old.gltf ");
}
#endif

}  // namespace
