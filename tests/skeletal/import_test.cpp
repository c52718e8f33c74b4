// The importers of mds and of mdm with mdx, on files written byte by byte.

#include <algorithm>
#include <optional>

#include "samples/skelmodel.h"
#include "skeletal/exporttest.h"

namespace {

constexpr int kMeshes = 1001, kBones = 1002, kMaterials = 1003, kAnimation = 1004;
using texts = std::vector<std::string>;

class importtest : public exporttest {
 protected:
  explicit importtest(bool isMds = false) : mds(isMds) {
    desk.scripts[101] = [this](desktop::scriptedwindow& window) {
      shown = {window.Caption()};
      std::ranges::copy(window.Rows(1000), std::back_inserter(shown));
      std::ranges::copy(window.Rows(1007), std::back_inserter(shown));
      for (const int box : unchecked) {
        window.Click(box);
      }
      window.PickRows(1000, selected);
      cancel ? window.Cancel() : window.Ok();
    };
    desk.onOpenFile = [this](const cfiledialog& dialog, std::string& path) {
      log.events.emplace_back("open dialog");
      asked = Text(dialog);
      path = skeletonPath;
      return !path.empty();
    };
  }

  int Run() {
    NewScene();
    scene->animStart = scene->animTime = 9;
    bytes rig = mds ? model.WriteMds() : model.WriteMdx();
    if (countedFrames) {
      Patch(rig, mds ? 80 : 72, *countedFrames);
    }
    directory.Write("skeletons/run.mdx", rig);
    return Import(mds ? directory.Write("models/x/test.mds", rig)
                      : directory.Write("models/x/test.mdm", model.WriteMdm()));
  }
  void WriteSequences(const std::string& lines) const {
    directory.Write(mds ? "models/x/wolfanim.cfg" : "skeletons/run.aninc", "STARTANIMS\n" + lines);
  }

  // It stands `reach` units before the first bone, which turns by 1000 steps a frame.
  static void ExpectFirstVertex(const core::meshstate& mesh, int frame, float reach) {
    const float angle = static_cast<float>(1000 * frame * std::numbers::pi / 32768.0);
    const float x = static_cast<float>(frame) + reach * std::cos(angle);
    ExpectPoint(mesh.verts.at(0), {x, 2.0F - reach * std::sin(angle), 30.0F}, 1e-5F);
  }
  void ExpectSceneUntouched() const {
    EXPECT_TRUE(scene->Nodes().empty() && scene->Materials().empty() && scene->animEnd == 0);
    EXPECT_EQ(Notes(), "");
  }
  const std::vector<ckey>& KeysOf(std::size_t node) const {
    return static_cast<cbone*>(scene->Nodes()[node])->anim.State().keys;
  }
  // Bones, and behind them the tags of an mdm file; then surfaces.
  std::size_t NumBones() const { return model.bones.size() + (mds ? 0 : model.tags.size()); }
  cskin& Skin(std::size_t surface) const {
    return *static_cast<cskin*>(scene->Nodes()[NumBones() + surface]);
  }

  const bool mds;
  skelmodel model = SmallSkelModel();
  // In place of the number of the model's frames.
  std::optional<int> countedFrames;
  std::string skeletonPath = directory.File("skeletons/run.mdx");
  // The user at the options dialog, and what it showed: its caption and its rows.
  std::vector<int> unchecked;
  std::vector<int> selected;
  bool cancel = false;
  texts shown;
  std::string asked;
};

class BothImports : public importtest, public testing::WithParamInterface<const char*> {
 protected:
  BothImports() : importtest(std::string(GetParam()) == "mds") {}
  std::string game = mds ? "RTCW" : "RTCW-ET";
};

INSTANTIATE_TEST_SUITE_P(Formats, BothImports, testing::Values("mds", "mdm"),
                         [](const auto& one) { return std::string(one.param); });

TEST_P(BothImports, SequencesDecideTheKeys) {
  struct example {
    const char* lines;
    std::vector<int> selected;
    numbers frames;  // of the file, one for each key
    int animEnd;
    const char* notes;  // behind the line that counts
  };
  const example examples[] = {
      {"", {}, {0}, 100, ""},
      {"a 1 2 0 0\nb 3 1 0 0\n", {}, {0}, 100, ""},
      // All of them: every frame, and the file's own numbers.
      {"a 1 90 3 4\nb -1 0 5 6\n", {0, 1}, {0, 1, 2, 3, 4}, 5, "a 1 90 3 4\nb -1 0 5 6\n"},
      // Some: laid one behind the other, the notes name the last keys.
      {"a 3 2 3 4\nb 0 1 0 0\nc 1 2 5 6\n", {0, 2}, {3, 4, 1, 2}, 4, "a 1 2 3 4\nc 3 2 5 6\n"},
      // Cut to the frames that exist; where none is left the note has the running number.
      {"a 3 2000000000 1 1\nb 2 0 2 2\nc 7 3 3 3\nd -2147483648 -5 4 4\ne -1 2 5 5\nx 0 0 0 0\n",
       {0, 1, 2, 3, 4},
       {3, 4, 0},
       3,
       "a 1 2 1 1\nb 2 0 2 2\nc 2 0 3 3\nd 2 0 4 4\ne 2 1 5 5\n"},
      {"past 9 9 0 0\nx 0 0 0 0\n", {0}, {}, 0, "past 0 0 0 0\n"},
  };
  // A second bone without a parent, half a turn away, whose place tells its frame.
  model.bones.push_back({"loose", -1, 3.0F});
  for (skelmodel::frame& frame : model.frames) {
    frame.bones.push_back({0, 0, -32768, 0, 0, -32768});
  }
  model.surfaces[0].verts[0].weights = {{0, 0.5F, {1, 0, 0}}, {3, 0.5F, {3, 0, 0}}};
  for (const example& each : examples) {
    SCOPED_TRACE(each.lines);
    WriteSequences(each.lines);
    selected = each.selected;
    ASSERT_EQ(Run(), 1);
    EXPECT_EQ(
        Notes().substr(Notes().find("\n\n") + 2),
        game + " anim sequences: " + std::to_string(each.selected.size()) + "\n" + each.notes);
    EXPECT_TRUE(scene->animStart == 0 && scene->animTime == 0 && scene->ticksPerFrame == 50);
    EXPECT_EQ(scene->animEnd, each.animEnd);
    numbers frames;
    for (const ckey& key : KeysOf(3)) {
      frames.push_back(static_cast<int>(key.pos.x + 3.0F));
    }
    EXPECT_EQ(frames, each.frames);
    // Meshes stand in the pose that was computed last.
    if (!frames.empty()) {
      ExpectFirstVertex(Skin(0).Skin().mesh, frames.back(), 0.5F);
    }
  }
  EXPECT_EQ(scene->Nodes()[3]->GetParent(), nullptr);
}

// What stands for a bone outside the list is dropped, and the others close up.
TEST_P(BothImports, SkinsKeepTheWeightsOfBonesThatThereAre) {
  auto& verts = model.surfaces[0].verts;
  verts.push_back({{0.25F, -3.0F}, {}});
  verts.push_back({{0, 0}, {{-1, 0.5F, {9, 9, 9}}, {2, 0.75F, {1, 2, 3}}, {-1, 1, {}}}});
  model.surfaces[0].triangles.push_back({3, 5, 0});
  // Faces at 40 degrees to the hat's, along one of its edges, and at 50 along another.
  auto& hat = model.surfaces[1];
  for (const skelmodel::triple& at : std::vector<skelmodel::triple>{{1, 0, 1},
                                                                    {0, 0, 1},
                                                                    {0.5F, -0.766F, 1.643F},
                                                                    {0, 0, 1},
                                                                    {0, 1, 1},
                                                                    {-0.643F, 0.5F, 1.766F}}) {
    hat.verts.push_back({{0, 0}, {{2, 1, at}}});
  }
  hat.triangles = {{0, 1, 2}, {3, 4, 5}, {6, 7, 8}};
  WriteSequences("a 1 3 0 0\nb 0 1 0 0\n");
  selected = {0};
  ASSERT_EQ(Run(), 1);
  const cpoint3 smooth = Skin(1).GetNormal(1), crease = Skin(1).GetNormal(2);
  EXPECT_NEAR(smooth.x * crease.x + smooth.y * crease.y + smooth.z * crease.z, 0.94F, 1e-3F);
  cskin& body = Skin(0);
  EXPECT_EQ(body.GetVertNumWeights(3), 3);
  EXPECT_EQ(body.GetVertNumWeights(4), 0);
  ASSERT_EQ(body.GetVertNumWeights(5), 1);
  cskinweight weight;
  ASSERT_EQ(body.GetVertWeight(5, 0, weight), 1);
  EXPECT_TRUE(weight.weight == 0.75F && weight.bone == scene->Nodes()[2]);
  ExpectPoint(weight.offset, {1, 2, 3}, 0.0F);
  // Turned back by the bone's rotation in the scene's frame 0 it is the mesh's own normal.
  ExpectPoint(weight.normal * weight.bone->GetTMAtFrame(0, kRotationOnly), body.GetNormal(5),
              1e-5F);
}

TEST_P(BothImports, WhatIsNotWantedIsNotMade) {
  WriteSequences("a 1 3 0 0\n");
  directory.Write("models/x/test.skin", std::string("body,\"models/a.tga\"\nhat,models/b.tga\n"));
  selected = {0};
  const auto expect = [&](std::vector<int> boxes, std::size_t nodes, std::size_t materials,
                          int animEnd) {
    unchecked = std::move(boxes);
    ASSERT_EQ(Run(), 1);
    EXPECT_EQ(scene->Nodes().size(), nodes);
    EXPECT_EQ(scene->Materials().size(), materials);
    EXPECT_EQ(scene->animEnd, animEnd);
  };
  const std::size_t bones = NumBones();
  expect({kAnimation}, bones + 2, 2, 100);
  EXPECT_EQ(KeysOf(1).size(), 1U);
  expect({kMeshes}, bones, 2, 5);
  EXPECT_EQ(log.steps[7], (progressstep{"Calculating Frame: 4 of 5\n", 5, 4}));
  expect({kMaterials}, bones + 2, 0, 5);
  expect({kMeshes, kAnimation, kBones, kMaterials}, 0, 0, 100);
  expect({kBones}, 2, 2, 100);
  ASSERT_EQ(scene->Nodes()[0]->GetType(), kNodeMesh);
  EXPECT_EQ(scene->Nodes()[1]->GetMaterial(), scene->Materials()[1]);
  ExpectFirstVertex(static_cast<cmesh*>(scene->Nodes()[0])->Mesh(), 0, 1.0F);
  EXPECT_EQ(Notes().find("sequences"), std::string::npos);
}

TEST_P(BothImports, NotesWindowsAndTheChosenSkin) {
  model.name = std::string(64, 'n');  // no end of its own
  model.lodScale = 1.5F;
  WriteSequences("a 1 2 0 0\nb 0 1 0 0\n");
  directory.Write("models/x/a.skin", std::string("body,\"models/never.tga\"\n"));
  directory.Write("models/x/B.skin", std::string("Body,\"models/1.tga\"\nbody,\"models/2.tga\"\n"
                                                 "body,\"models/3.tga\"\nx,\"models/2.jpg\"\n"));
  selected = {0};
  ASSERT_EQ(Run(), 1);
  const std::string title = mds ? "" : "MDM/MDX Importer(beta) - Options";
  EXPECT_EQ(shown, (texts{title, "a    1    2", "b    0    1", "B.skin", "a.skin"}));
  EXPECT_EQ(Notes().substr(0, Notes().find("\n\n")),
            game + " Model: " + model.name + "\nident:        " + (mds ? "MDSW" : "MDMW") +
                "\nversion:      " + (mds ? "4" : "3") +
                "\nlodScale:     1.500000\nlodBias:      0.000000\nNum Frames:   5\n"
                "Num Bones:    3\nNum Surfaces: 2\nNum Tags:     2");
  EXPECT_EQ(log.caption, "Importing - Please wait...");
  EXPECT_EQ(log.Texts(),
            (texts{"Static", "Creating Bones...\n", "Calculating Sequence [a] Frame: 0 of 2\n",
                   "Calculating Sequence [a] Frame: 1 of 2\n", "Creating Materials: 0 of 4\n",
                   "Creating Materials: 1 of 4\n", "Creating Materials: 2 of 4\n",
                   "Creating Materials: 3 of 4\n", "Creating Surfaces: 0 of 2\n",
                   "Creating Surfaces: 1 of 2\n"}));
  numbers bars;  // a pass's range stands before its first text
  for (const progressstep& step : log.steps) {
    bars.insert(bars.end(), {step.high, step.position});
  }
  EXPECT_EQ(bars, (numbers{3, 0, 3, 0, 2, 0, 2, 0, 2, 1, 4, 0, 4,
                           0, 4, 1, 4, 2, 4, 3, 2, 0, 2, 0, 2, 1}));
  texts order{"wait cursor", "window", "sleep 500", "window closed", "old cursor"};
  if (!mds) {
    order.insert(order.begin(), "open dialog");
  }
  EXPECT_EQ(log.events, order);
  // The form without quotes takes them for a part of the path.
  ASSERT_EQ(scene->Materials().size(), 3U);
  EXPECT_EQ(Skin(0).GetMaterial(), scene->Materials()[1]);
  EXPECT_EQ(Skin(1).GetMaterial(), nullptr);
  char path[512];
  scene->Materials()[1]->GetImage(0)->GetPathName(path);
  EXPECT_EQ(path, directory.Path() + (mds ? "/\"models/2.tga" : "/models/2.tga"));

  cancel = true;
  EXPECT_EQ(Run(), -1);
  EXPECT_EQ(log.events.back(), "sleep 500");
  EXPECT_EQ(log.caption, "");
  ExpectSceneUntouched();
}

TEST_P(BothImports, LackingPartsAreNoFaultWrongOnesAre) {
  WriteSequences("a 1 3 0 0\n");
  selected = {0};
  model.bones[1].parent = 1;
  EXPECT_EQ(Run(), 0);
  ExpectSceneUntouched();
  std::vector<cpoint3> places;  // of a bone without a parent in the list
  for (const int parent : {-1, -2, 3, 0x7FFFFFFF}) {
    model.bones[1].parent = parent;
    ASSERT_EQ(Run(), 1);
    EXPECT_EQ(scene->Nodes()[1]->GetParent(), nullptr) << parent;
    places.push_back(KeysOf(1).at(0).pos);
    ExpectPoint(places.back(), places[0], 0.0F);
  }
  model = {};
  model.frames.resize(5);
  model.surfaces = {{"flat", {{}, {}, {}}, {{0, 1, 2}}}};
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(Skin(0).Skin().mesh.verts.size(), 3U);
  EXPECT_EQ(scene->animEnd, 5);
  model = SmallSkelModel();
  model.surfaces.clear();
  model.tags.clear();
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(scene->Nodes().size(), 3U);
}

// Without bones a file's frames are a number alone, which is what the exporters write.
TEST_P(BothImports, FramesOfAModelWithoutBonesCount) {
  model = {};
  WriteSequences("a 0 3 0 0\nb 3 9 0 0\n");
  const struct {
    int frames;
    std::vector<int> selected;
    int animEnd;
    std::string notes;
    std::size_t texts;
  } cases[] = {{8, {0, 1}, 8, "a 0 3 0 0\nb 3 9 0 0\n", 8},
               {8, {1}, 5, "b 4 5 0 0\n", 5},
               {8, {}, 100, "", 0},
               {0, {}, 100, "", 0},
               {0x7FFFFFFF, {0, 1}, 0x7FFFFFFF, "a 0 3 0 0\nb 3 9 0 0\n", 65535},
               {-3, {0, 1}, 0, "a 0 3 0 0\nb 3 9 0 0\n", 0}};
  for (const auto& each : cases) {
    SCOPED_TRACE(std::to_string(each.frames));
    countedFrames = each.frames;
    selected = each.selected;
    log = {};
    ASSERT_EQ(Run(), 1);
    EXPECT_EQ(scene->animEnd, each.animEnd);
    EXPECT_NE(Notes().find("Num Frames:   " + std::to_string(each.frames) + "\n"),
              std::string::npos);
    EXPECT_TRUE(Notes().ends_with(": " + std::to_string(each.selected.size()) + "\n" + each.notes));
    EXPECT_EQ(std::ranges::count_if(
                  log.Texts(), [](const std::string& text) { return text.starts_with("Calc"); }),
              static_cast<std::ptrdiff_t>(each.texts));
  }
}

TEST_P(BothImports, WithoutFramesOnlyWhatAsksForNoneIsMade) {
  countedFrames = 0;
  WriteSequences("a 0 3 0 0\n");
  selected = {0};
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(scene->Nodes().size(), NumBones() + 2);
  EXPECT_EQ(KeysOf(0).size(), 0U);
  EXPECT_EQ(scene->animEnd, 0);
  for (const int box : {kBones, kAnimation}) {
    unchecked = {box};
    EXPECT_EQ(Run(), 0);
    ExpectSceneUntouched();
  }
}

using PairImport = importtest;

TEST_F(PairImport, AsksForASkeletonThatFitsBeforeAnythingElse) {
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(asked, "Load Animation File(MDX), RTCW-ET MDX Files (*.mdx), *.mdx, mdx, " +
                       std::to_string(0x1804));
  model.surfaces[1].verts[2].weights[0].bone = 3;
  EXPECT_EQ(Run(), 0);
  skeletonPath = directory.File("none.mdx");
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(log.events, texts{"open dialog"});
  skeletonPath = "";
  EXPECT_EQ(Import(directory.File("none.mdm")), -1);
  ExpectSceneUntouched();
}

TEST_F(PairImport, TagsHangFromTheirBonesAndKeepOneKey) {
  model.tags = {{"tag_a", 1, {1, 2, 3}, {{{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}}}},
                {"tag_b", -1, {4, 5, 6}},
                {"tag_c", 3, {}},
                {"tag_d", -2147483647, {}}};
  WriteSequences("a 1 3 0 0\n");
  selected = {0};
  ASSERT_EQ(Run(), 1);
  for (std::size_t t = 0; t < 4; ++t) {
    cnode* const tag = scene->Nodes()[3 + t];
    EXPECT_EQ(tag->GetName(), model.tags[t].name);
    EXPECT_EQ(tag->GetParent(), t == 0 ? scene->Nodes()[1] : nullptr);
    EXPECT_EQ(KeysOf(3 + t).size(), 1U);
  }
  ExpectPoint(KeysOf(4)[0].pos, {4, 5, 6}, 0.0F);
}

}  // namespace
