// The importers of mds and of mdm with mdx, on files written byte by byte. What both do is tested
// on both.

#include <algorithm>
#include <filesystem>

#include "samples/skelmodel.h"
#include "skeletal/exporttest.h"

namespace {

constexpr int kMeshes = 1001;
constexpr int kBones = 1002;
constexpr int kMaterials = 1003;
constexpr int kAnimation = 1004;

class importtest : public exporttest {
 protected:
  importtest() {
    desk.scripts[101] = [this](desktop::scriptedwindow& window) {
      caption = window.Caption();
      sequences = window.Rows(1000);
      skins = window.Rows(1007);
      for (const int box : unchecked) {
        window.Click(box);
      }
      window.PickRows(1000, selected);
      window.PickRow(1007, skin);
      window.Ok();
    };
    desk.onOpenFile = [this](const cfiledialog& dialog, std::string& path) {
      asked = dialog;
      path = skeletonPath;
      return !path.empty();
    };
  }

  int ImportMds() { return Import(directory.Write("models/x/test.mds", model.WriteMds())); }
  int ImportPair() {
    directory.Write("skeletons/run.mdx", model.WriteMdx());
    return Import(directory.Write("models/x/test.mdm", model.WriteMdm()));
  }
  // The lines are those of sequences.
  void WriteSequences(const std::string& lines) const {
    directory.Write("models/x/wolfanim.cfg", "STARTANIMS\n" + lines);
    directory.Write("skeletons/run.aninc", lines);
  }

  // The poses of the model's frame by the games' formulas.
  std::vector<placedbone> Truth(std::size_t frame) const {
    const bytes content = model.WriteMdx();
    cmdxfile file;
    EXPECT_TRUE(file.Parse({content.data(), content.size()})) << file.Fault();
    return Decode(file, frame);
  }
  // The scene's bones at `key` stand as the model's frame has them.
  void ExpectPose(int key, std::size_t frame) const {
    const std::vector<placedbone> truth = Truth(frame);
    for (std::size_t b = 0; b < truth.size(); ++b) {
      SCOPED_TRACE("bone " + model.bones[b].name + " at key " + std::to_string(key));
      const cmatrix4 world = scene->Nodes()[b]->GetTMAtFrame(key, kWholeTransform);
      for (int row = 0; row < 4; ++row) {
        const double* want = row < 3 ? truth[b].rows[row] : truth[b].position;
        for (int c = 0; c < 3; ++c) {
          EXPECT_NEAR(world.m[row][c], want[c], 1e-5) << row << ", " << c;
        }
      }
    }
  }
  // Positions of a surface's vertices in a pose, weights without a bone left out.
  static std::vector<cpoint3> Positions(const skelmodel::surface& surface,
                                        const std::vector<placedbone>& pose) {
    std::vector<cpoint3> positions;
    for (const skelmodel::vertex& vertex : surface.verts) {
      double sum[3] = {};
      for (const skelmodel::weight& weight : vertex.weights) {
        for (std::size_t c = 0; weight.bone >= 0 && c < 3; ++c) {
          const placedbone& bone = pose[static_cast<std::size_t>(weight.bone)];
          double place = bone.position[c];
          for (std::size_t i = 0; i < 3; ++i) {
            place += double{weight.offset[i]} * bone.rows[i][c];
          }
          sum[c] += double{weight.share} * place;
        }
      }
      positions.push_back(MakePt3(static_cast<float>(sum[0]), static_cast<float>(sum[1]),
                                  static_cast<float>(sum[2])));
    }
    return positions;
  }
  static void ExpectPoints(const std::vector<cpoint3>& actual,
                           const std::vector<cpoint3>& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
      ExpectPoint(actual[i], expected[i], 2e-5F);
    }
  }
  void ExpectSceneUntouched() const {
    EXPECT_TRUE(scene->Nodes().empty());
    EXPECT_TRUE(scene->Materials().empty());
    EXPECT_EQ(Notes(), "");
    EXPECT_EQ(scene->animEnd, 0);
  }
  std::vector<ckey> KeysOf(std::size_t bone) const {
    return static_cast<cbone*>(scene->Nodes()[bone])->anim.State().keys;
  }

  skelmodel model = SmallSkelModel();
  std::string skeletonPath = directory.File("skeletons/run.mdx");
  // The user at the options dialog.
  std::vector<int> unchecked;
  std::vector<int> selected;
  int skin = 0;
  // What the dialogs showed.
  std::string caption;
  std::vector<std::string> sequences;
  std::vector<std::string> skins;
  cfiledialog asked{};
};

class BothImports : public importtest, public testing::WithParamInterface<const char*> {
 protected:
  bool IsMds() const { return std::string(GetParam()) == "mds"; }
  std::string Game() const { return IsMds() ? "RTCW" : "RTCW-ET"; }
  int Run() { return IsMds() ? ImportMds() : ImportPair(); }
  // Bones, and behind them the tags of an mdm file.
  std::size_t NumBones() const { return model.bones.size() + (IsMds() ? 0 : model.tags.size()); }
  // The notes behind the model's note.
  std::string SequenceNotes() const { return Notes().substr(Notes().find("\n\n") + 2); }
  const core::skinstate& Skin(std::size_t surface) const {
    return static_cast<cskin*>(scene->Nodes()[NumBones() + surface])->Skin();
  }
};

INSTANTIATE_TEST_SUITE_P(Formats, BothImports, testing::Values("mds", "mdm"),
                         [](const auto& one) { return std::string(one.param); });

TEST_P(BothImports, PosesAreTheGamesOwn) {
  // Straight up and down, half turns, gimbal lock; children on their parents and in every
  // direction; a second bone without a parent.
  model.bones.push_back({"loose", -1, 3.0F});
  model.bones.push_back({"on it", 3, 0.0F});
  for (skelmodel::frame& frame : model.frames) {
    frame.bones.push_back({0, 0, 0, 0, 16384, 0});
    frame.bones.push_back({-16384, 123, 4567, 0, 0, 0});
  }
  const std::array<std::array<int, 6>, 4> extremes{{{16384, 8000, -32768, 0, -16384, 0},
                                                    {-16384, -32768, 16384, 0, 16384, 77},
                                                    {-32768, -32768, -32768, 0, 32767, -32768},
                                                    {0, 16384, 0, 0, 0, 16384}}};
  for (std::size_t f = 0; f < extremes.size(); ++f) {
    model.frames[f].bones[0] = model.frames[f].bones[1] = extremes[f];
    model.frames[f].bones[2] = extremes[3 - f];
  }
  WriteSequences("all 0 5 0 0\n");
  selected = {0};
  ASSERT_EQ(Run(), 1);
  for (int key = 0; key < 5; ++key) {
    ExpectPose(key, static_cast<std::size_t>(key));
  }
  for (std::size_t b = 0; b < model.bones.size(); ++b) {
    const int parent = model.bones[b].parent;
    EXPECT_EQ(scene->Nodes()[b]->GetParent(),
              parent < 0 ? nullptr : scene->Nodes()[static_cast<std::size_t>(parent)]);
    EXPECT_EQ(scene->Nodes()[b]->GetName(), model.bones[b].name);
  }
}

TEST_P(BothImports, SequencesDecideTheKeys) {
  struct example {
    const char* lines;
    std::vector<int> selected;
    std::vector<std::size_t> frames;  // of the file, one for each key
    int animEnd;
    const char* notes;  // behind the line that counts
    std::vector<std::string> texts;
  };
  const auto frame = [](int f) { return "Calculating Frame: " + std::to_string(f) + " of 5\n"; };
  const auto step = [](const char* name, int f, int count) {
    return "Calculating Sequence [" + std::string(name) + "] Frame: " + std::to_string(f) + " of " +
           std::to_string(count) + "\n";
  };
  const std::vector<std::string> all{frame(0), frame(1), frame(2), frame(3), frame(4)};
  const example examples[] = {
      {"", {}, {0}, 100, "", {}},
      {"a 1 2 0 0\nb 3 1 0 0\n", {}, {0}, 100, "", {}},
      // All of them: every frame, and the file's own numbers.
      {"a 1 2 3 4\n", {0}, {0, 1, 2, 3, 4}, 5, "a 1 2 3 4\n", all},
      {"a 1 90 3 4\nb -1 0 5 6\n", {0, 1}, {0, 1, 2, 3, 4}, 5, "a 1 90 3 4\nb -1 0 5 6\n", all},
      // Some: laid one behind the other, the notes name the last keys.
      {"a 3 2 3 4\nb 0 1 0 0\nc 1 2 5 6\n",
       {0, 2},
       {3, 4, 1, 2},
       4,
       "a 1 2 3 4\nc 3 2 5 6\n",
       {step("a", 0, 2), step("a", 1, 2), step("c", 0, 2), step("c", 1, 2)}},
      // Cut to the frames that exist; nothing left is noted with the running number.
      {"a 3 2000000000 1 1\nnone 2 0 2 2\npast 7 3 3 3\nneg -2147483648 -5 4 4\nb -1 2 5 5\nx 0 0 "
       "0 "
       "0\n",
       {0, 1, 2, 3, 4},
       {3, 4, 0},
       3,
       "a 1 2 1 1\nnone 2 0 2 2\npast 2 0 3 3\nneg 2 0 4 4\nb 2 1 5 5\n",
       {step("a", 0, 2), step("a", 1, 2), step("b", 0, 1)}},
      {"past 9 9 0 0\nx 0 0 0 0\n", {0}, {}, 0, "past 0 0 0 0\n", {}},
  };
  for (const example& each : examples) {
    SCOPED_TRACE(each.lines);
    NewScene();
    WriteSequences(each.lines);
    selected = each.selected;
    ASSERT_EQ(Run(), 1);
    EXPECT_EQ(SequenceNotes(), Game() + " anim sequences: " + std::to_string(each.selected.size()) +
                                   "\n" + each.notes);
    EXPECT_EQ(scene->animStart, 0);
    EXPECT_EQ(scene->animEnd, each.animEnd);
    EXPECT_EQ(scene->ticksPerFrame, 50);
    for (std::size_t b = 0; b < model.bones.size(); ++b) {
      ASSERT_EQ(KeysOf(b).size(), each.frames.size());
    }
    for (std::size_t k = 0; k < each.frames.size(); ++k) {
      EXPECT_EQ(KeysOf(0)[k].frame, static_cast<int>(k));
      ExpectPose(static_cast<int>(k), each.frames[k]);
    }
    // Meshes stand in the pose that was computed last.
    if (!each.frames.empty()) {
      ExpectPoints(Skin(0).mesh.verts, Positions(model.surfaces[0], Truth(each.frames.back())));
    }
    std::vector<std::string> texts = log.Texts();
    EXPECT_EQ(texts.front(), "Static");
    EXPECT_EQ(texts[1], "Creating Bones...\n");
    texts.erase(texts.begin(), texts.begin() + 2);
    std::vector<std::string> want = each.texts;
    want.insert(want.end(), {"Creating Surfaces: 0 of 2\n", "Creating Surfaces: 1 of 2\n"});
    EXPECT_EQ(texts, want);
  }
}

TEST_P(BothImports, SkinsKeepTheFilesWeights) {
  auto& verts = model.surfaces[0].verts;
  verts.push_back({{0.25F, -3.0F}, {}});
  // What stands for a bone outside the list is dropped, and the others close up.
  verts.push_back({{0, 0}, {{-1, 0.5F, {9, 9, 9}}, {2, 0.75F, {1, 2, 3}}, {-1, 1, {}}}});
  model.surfaces[0].triangles.push_back({3, 5, 0});
  WriteSequences("a 1 3 0 0\nb 0 1 0 0\n");
  selected = {0};
  ASSERT_EQ(Run(), 1);
  ASSERT_EQ(scene->Nodes().size(), NumBones() + 2);
  const core::skinstate& state = Skin(0);
  EXPECT_STREQ(scene->Nodes()[NumBones()]->GetName(), "body");
  ExpectPoints(state.mesh.verts, Positions(model.surfaces[0], Truth(3)));
  ExpectPoint(state.mesh.verts[4], {}, 0.0F);
  ExpectPoint(state.mesh.tverts[4], {0.25F, -3.0F, 0.0F}, 0.0F);
  ASSERT_EQ(state.mesh.faces.size(), 3U);
  EXPECT_TRUE(std::ranges::equal(state.mesh.faces[1].v, numbers{2, 1, 3}));
  EXPECT_TRUE(std::ranges::equal(state.mesh.faces[2].tv, numbers{3, 5, 0}));

  auto& body = *static_cast<cskin*>(scene->Nodes()[NumBones()]);
  const int counts[] = {1, 2, 1, 3, 0, 1};
  for (int v = 0; v < 6; ++v) {
    ASSERT_EQ(body.GetVertNumWeights(v), counts[v]) << v;
    int j = 0;
    for (const skelmodel::weight& want : verts[static_cast<std::size_t>(v)].weights) {
      if (want.bone < 0) {
        continue;
      }
      cskinweight weight;
      body.GetVertWeight(v, j++, weight);
      EXPECT_EQ(weight.weight, want.share);
      ExpectPoint(weight.offset, {want.offset[0], want.offset[1], want.offset[2]}, 0.0F);
      cnode* const bone = scene->Nodes()[static_cast<std::size_t>(want.bone)];
      ASSERT_EQ(weight.bone, bone);
      // Turned back by the bone's rotation in the scene's frame 0 it is the mesh's own normal.
      ExpectPoint(weight.normal * bone->GetTMAtFrame(0, kRotationOnly), body.GetNormal(v), 1e-5F);
    }
  }
}

TEST_P(BothImports, WhatIsNotWantedIsNotMade) {
  WriteSequences("a 1 3 0 0\n");
  directory.Write("models/x/test.skin", std::string("body,\"models/a.tga\"\nhat,models/b.tga\n"));
  selected = {0};
  const std::size_t numBones = NumBones();
  const auto run = [&](std::vector<int> boxes) {
    NewScene();
    unchecked = std::move(boxes);
    ASSERT_EQ(Run(), 1);
  };
  run({kBones});
  ASSERT_EQ(scene->Nodes().size(), 2U);
  EXPECT_EQ(scene->Nodes()[0]->GetType(), kNodeMesh);
  EXPECT_EQ(scene->Materials().size(), 2U);
  EXPECT_EQ(scene->Nodes()[1]->GetMaterial(), scene->Materials()[1]);
  ExpectPoints(static_cast<cmesh*>(scene->Nodes()[0])->Mesh().verts,
               Positions(model.surfaces[0], Truth(0)));
  EXPECT_EQ(SequenceNotes(), "");
  EXPECT_EQ(scene->animEnd, 100);

  run({kAnimation});
  EXPECT_EQ(SequenceNotes(), "");
  EXPECT_EQ(scene->Nodes().size(), numBones + 2);
  EXPECT_EQ(KeysOf(1).size(), 1U);
  EXPECT_EQ(scene->animEnd, 100);

  run({kMeshes});
  EXPECT_EQ(scene->Nodes().size(), numBones);
  EXPECT_EQ(scene->Materials().size(), 2U);
  EXPECT_EQ(scene->animEnd, 5);

  run({kMaterials});
  EXPECT_EQ(skins, std::vector<std::string>{"test.skin"});
  EXPECT_TRUE(scene->Materials().empty());

  run({kMeshes, kAnimation, kBones, kMaterials});
  EXPECT_TRUE(scene->Nodes().empty());
  EXPECT_TRUE(scene->Materials().empty());
  EXPECT_NE(Notes(), "");
  EXPECT_EQ(scene->animEnd, 100);
}

TEST_P(BothImports, TheChosenSkinClothesTheSurfaces) {
  directory.Write("models/x/a.skin", std::string("body,\"models/never.tga\"\n"));
  directory.Write("models/x/B.skin",
                  "Body,\"models/1.tga\"\nbody,\"models/2.tga\"\nbody,\"models/3.tga\"\n" +
                      std::string("extra,\"models/2.jpg\"\n"));
  skin = 0;
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(skins, (std::vector<std::string>{"B.skin", "a.skin"}));
  ASSERT_EQ(scene->Materials().size(), 3U);
  EXPECT_EQ(scene->Nodes()[NumBones()]->GetMaterial(), scene->Materials()[1]);
  EXPECT_EQ(scene->Nodes()[NumBones() + 1]->GetMaterial(), nullptr);
  char path[512];
  scene->Materials()[1]->GetImage(0)->GetPathName(path);
  // The form without quotes takes them for a part of the path.
  const std::string root = directory.Path() + "/";
  EXPECT_EQ(path, root + (IsMds() ? "\"models/2.tga" : "models/2.tga"));
  std::vector<std::string> texts = log.Texts();
  texts.resize(7);
  EXPECT_EQ(texts, (std::vector<std::string>{
                       "Static", "Creating Bones...\n", "Creating Materials: 0 of 4\n",
                       "Creating Materials: 1 of 4\n", "Creating Materials: 2 of 4\n",
                       "Creating Materials: 3 of 4\n", "Creating Surfaces: 0 of 2\n"}));
  // Without a models folder there is nothing that paths start from.
  NewScene();
  std::filesystem::rename(directory.File("models"), directory.File("Models"));
  ASSERT_EQ(Import(directory.File(std::string("Models/x/test.") + GetParam())), 1);
  EXPECT_EQ(skins.size(), 2U);
  EXPECT_TRUE(scene->Materials().empty());
}

TEST_P(BothImports, NotesAndTheOrderOfARun) {
  model.name = std::string(64, 'n');
  model.lodScale = 1.5F;
  model.lodBias = 0.25F;
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(Notes(), Game() + " Model: " + model.name + "\nident:        " +
                         (IsMds() ? "MDSW" : "MDMW") + "\nversion:      " + (IsMds() ? "4" : "3") +
                         "\nlodScale:     1.500000\nlodBias:      0.250000\nNum Frames:   5\n"
                         "Num Bones:    3\nNum Surfaces: 2\nNum Tags:     2\n\n" +
                         Game() + " anim sequences: 0\n");
  EXPECT_EQ(log.caption, "Importing - Please wait...");
  EXPECT_TRUE(log.messages.empty());
  const std::vector<std::string> order{"wait cursor", "window", "sleep 500", "window closed",
                                       "old cursor"};
  EXPECT_EQ(std::vector<std::string>(log.events.end() - 5, log.events.end()), order);

  NewScene();
  desk.scripts[101] = [](desktop::scriptedwindow& window) { window.Cancel(); };
  EXPECT_EQ(Run(), -1);
  EXPECT_EQ(log.events.back(), "sleep 500");
  EXPECT_EQ(log.caption, "");
  ExpectSceneUntouched();
}

TEST_P(BothImports, LackingPartsAreNoFault) {
  model.bones.clear();
  model.tags.clear();
  for (skelmodel::frame& frame : model.frames) {
    frame.bones.clear();
  }
  for (skelmodel::surface& surface : model.surfaces) {
    for (skelmodel::vertex& vertex : surface.verts) {
      vertex.weights.clear();
    }
  }
  WriteSequences("a 1 3 0 0\n");
  selected = {0};
  ASSERT_EQ(Run(), 1);
  ASSERT_EQ(scene->Nodes().size(), 2U);
  ExpectPoint(Skin(1).mesh.verts[2], {}, 0.0F);
  EXPECT_EQ(scene->animEnd, 5);
  NewScene();
  model = SmallSkelModel();
  model.surfaces.clear();
  model.tags.clear();
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(scene->Nodes().size(), 3U);
}

using MdsImport = importtest;

TEST_F(MdsImport, ReadsWolfanimAndNoTags) {
  WriteSequences("a 1 3 0 0\n");
  ASSERT_EQ(ImportMds(), 1);
  EXPECT_EQ(caption, "");
  EXPECT_EQ(sequences, std::vector<std::string>{"a    1    3"});
  EXPECT_EQ(scene->Nodes().size(), 5U);
  model.bones[1].parent = 1;
  NewScene();
  EXPECT_EQ(ImportMds(), 0);
  EXPECT_EQ(Import(directory.File("none.mds")), 0);
  EXPECT_TRUE(log.events.empty());
  ExpectSceneUntouched();
}

using PairImport = importtest;

TEST_F(PairImport, AsksForTheSkeletonBeforeAnythingElse) {
  WriteSequences("a 1 3 0 0\nb 0 1 0 0\n");
  ASSERT_EQ(ImportPair(), 1);
  EXPECT_EQ(caption, "MDM/MDX Importer(beta) - Options");
  EXPECT_EQ(sequences, (std::vector<std::string>{"a    1    3", "b    0    1"}));
  EXPECT_STREQ(asked.title, "Load Animation File(MDX)");
  EXPECT_STREQ(asked.filterName, "RTCW-ET MDX Files (*.mdx)");
  EXPECT_STREQ(asked.filterPattern, "*.mdx");
  EXPECT_STREQ(asked.defaultExtension, "mdx");
  EXPECT_EQ(asked.flags, 0x1804U);
  NewScene();
  const std::string none = directory.File("none.mdm");
  asked = {};
  EXPECT_EQ(Import(none), 0);
  EXPECT_NE(asked.title, nullptr);
  skeletonPath = "";
  EXPECT_EQ(Import(none), -1);
  skeletonPath = none;
  EXPECT_EQ(ImportPair(), 0);
  EXPECT_EQ(std::ranges::count(log.events, "sleep 500"), 0);
  ExpectSceneUntouched();
}

TEST_F(PairImport, RefusesAPairThatDoesNotFit) {
  model.surfaces[1].verts[2].weights[0].bone = 3;
  EXPECT_EQ(ImportPair(), 0);
  ExpectSceneUntouched();
  const bytes content = model.WriteMdm();
  cmdmfile mesh;
  ASSERT_TRUE(mesh.Parse({content.data(), content.size()}));
  const bytes bones = model.WriteMdx();
  cmdxfile skeleton;
  ASSERT_TRUE(skeleton.Parse({bones.data(), bones.size()}));
  std::string fault;
  EXPECT_FALSE(mesh.FitsTo(skeleton, fault));
  EXPECT_EQ(fault, "surface 1: vertex 2 names bone 3 of a skeleton with 3");
}

TEST_F(PairImport, TagsHangFromTheirBonesAndKeepOneKey) {
  model.tags = {{"tag_a", 1, {1, 2, 3}, {{{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}}}},
                {"tag_b", -1, {4, 5, 6}},
                {"tag_c", 3, {}},
                {"tag_d", -2147483647, {}}};
  WriteSequences("a 1 3 0 0\n");
  selected = {0};
  ASSERT_EQ(ImportPair(), 1);
  ASSERT_EQ(scene->Nodes().size(), 9U);
  for (std::size_t t = 0; t < 4; ++t) {
    cnode* const tag = scene->Nodes()[3 + t];
    EXPECT_EQ(tag->GetName(), model.tags[t].name);
    EXPECT_EQ(tag->GetParent(), t == 0 ? scene->Nodes()[1] : nullptr);
    EXPECT_EQ(KeysOf(3 + t).size(), 1U);
  }
  ExpectPoint(KeysOf(4)[0].pos, {4.0F, 5.0F, 6.0F}, 0.0F);
  // In every frame at its place on the bone: its rows are turned and its offset carried along.
  for (int frame = 0; frame < 5; ++frame) {
    const cmatrix4 bone = scene->Nodes()[1]->GetTMAtFrame(frame, kWholeTransform);
    const cmatrix4 tag = scene->Nodes()[3]->GetTMAtFrame(frame, kWholeTransform);
    ExpectPoint(tag.GetRow3(0), bone.GetRow3(1), 1e-5F);
    ExpectPoint(tag.GetRow3(1), bone.GetRow3(0) * -1.0F, 1e-5F);
    ExpectPoint(tag.GetTrans(), MakePt3(1, 2, 3) * bone, 1e-5F);
  }
}

}  // namespace
