// The importers of mds and of mdm with mdx, on files written byte by byte.

#include <algorithm>

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
      asked = dialog;
      path = skeletonPath;
      return !path.empty();
    };
  }

  int Run() {
    NewScene();
    directory.Write("skeletons/run.mdx", model.WriteMdx());
    return Import(mds ? directory.Write("models/x/test.mds", model.WriteMds())
                      : directory.Write("models/x/test.mdm", model.WriteMdm()));
  }
  void WriteSequences(const std::string& lines) const {
    directory.Write(mds ? "models/x/wolfanim.cfg" : "skeletons/run.aninc", "STARTANIMS\n" + lines);
  }

  // The poses of the model's frame by the games' formulas.
  std::vector<placedbone> Truth(std::size_t frame) const {
    const bytes content = model.WriteMdx();
    cmdxfile file;
    EXPECT_TRUE(file.Parse({content.data(), content.size()})) << file.Fault();
    return Decode(file, frame);
  }
  void ExpectPose(int key, std::size_t frame) const {
    const std::vector<placedbone> truth = Truth(frame);
    for (std::size_t i = 0; i < 12 * truth.size(); ++i) {
      const std::size_t b = i / 12, row = i / 3 % 4, c = i % 3;
      const double want = row < 3 ? truth[b].rows[row][c] : truth[b].position[c];
      EXPECT_NEAR(scene->Nodes()[b]->GetTMAtFrame(key, kWholeTransform).m[row][c], want, 1e-5)
          << model.bones[b].name << " at key " << key << ": " << row << ", " << c;
    }
  }
  // The mesh's vertices are those of the surface in a pose.
  void ExpectVertices(const core::meshstate& mesh, std::size_t surface, std::size_t frame) const {
    const std::vector<placedbone> pose = Truth(frame);
    const auto& verts = model.surfaces[surface].verts;
    ASSERT_EQ(mesh.verts.size(), verts.size());
    for (std::size_t v = 0; v < verts.size(); ++v) {
      double sum[3] = {};
      for (const skelmodel::weight& weight : verts[v].weights) {
        for (std::size_t c = 0; weight.bone >= 0 && c < 3; ++c) {
          const placedbone& bone = pose[static_cast<std::size_t>(weight.bone)];
          const auto& [x, y, z] = weight.offset;
          sum[c] += weight.share * (x * bone.rows[0][c] + y * bone.rows[1][c] +
                                    z * bone.rows[2][c] + bone.position[c]);
        }
      }
      const float want[] = {float(sum[0]), float(sum[1]), float(sum[2])};
      ExpectPoint(mesh.verts[v], {want[0], want[1], want[2]}, 2e-5F);
    }
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
  std::string skeletonPath = directory.File("skeletons/run.mdx");
  // The user at the options dialog, and what it showed: its caption and its rows.
  std::vector<int> unchecked;
  std::vector<int> selected;
  bool cancel = false;
  texts shown;
  cfiledialog asked{};
};

class BothImports : public importtest, public testing::WithParamInterface<const char*> {
 protected:
  BothImports() : importtest(std::string(GetParam()) == "mds") {}
  std::string game = mds ? "RTCW" : "RTCW-ET";
};

INSTANTIATE_TEST_SUITE_P(Formats, BothImports, testing::Values("mds", "mdm"),
                         [](const auto& one) { return std::string(one.param); });

TEST_P(BothImports, PosesAreTheGamesOwn) {
  // Straight up and down, half turns, gimbal lock; a second bone without a parent, a bone on its
  // parent.
  model.bones.push_back({"loose", -1, 3.0F});
  model.bones.push_back({"on it", 3, 0.0F});
  const std::array<std::array<int, 6>, 5> extremes{{{16384, 8000, -32768, 0, -16384, 0},
                                                    {-16384, -32768, 16384, 0, 16384, 77},
                                                    {-32768, -32768, -32768, 0, 32767, -32768},
                                                    {0, 16384, 0, 0, 0, 16384},
                                                    {123, 4567, -16384, 0, 1, 2}}};
  for (std::size_t f = 0; f < 5; ++f) {
    for (std::size_t b = f == 4 ? 3 : 0; b < 5; ++b) {
      model.frames[f].bones.resize(5);
      model.frames[f].bones[b] = extremes[(f + b) % 5];
    }
  }
  WriteSequences("all 0 5 0 0\n");
  selected = {0};
  ASSERT_EQ(Run(), 1);
  for (std::size_t i = 0; i < 5; ++i) {
    ExpectPose(static_cast<int>(i), i);
    const int parent = model.bones[i].parent;
    EXPECT_EQ(scene->Nodes()[i]->GetParent(),
              parent < 0 ? nullptr : scene->Nodes()[static_cast<std::size_t>(parent)]);
    EXPECT_EQ(scene->Nodes()[i]->GetName(), model.bones[i].name);
  }
  EXPECT_EQ(log.Texts()[6], "Calculating Frame: 4 of 5\n");
}

TEST_P(BothImports, SequencesDecideTheKeys) {
  struct example {
    const char* lines;
    std::vector<int> selected;
    std::vector<std::size_t> frames;  // of the file, one for each key
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
  for (const example& each : examples) {
    SCOPED_TRACE(each.lines);
    WriteSequences(each.lines);
    selected = each.selected;
    ASSERT_EQ(Run(), 1);
    EXPECT_EQ(
        Notes().substr(Notes().find("\n\n") + 2),
        game + " anim sequences: " + std::to_string(each.selected.size()) + "\n" + each.notes);
    EXPECT_TRUE(scene->animStart == 0 && scene->ticksPerFrame == 50);
    EXPECT_EQ(scene->animEnd, each.animEnd);
    ASSERT_EQ(KeysOf(2).size(), each.frames.size());
    for (std::size_t k = 0; k < each.frames.size(); ++k) {
      ExpectPose(static_cast<int>(k), each.frames[k]);
    }
    // Meshes stand in the pose that was computed last.
    if (!each.frames.empty()) {
      ExpectVertices(Skin(0).Skin().mesh, 0, each.frames.back());
    }
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
  cskin& body = Skin(0);
  EXPECT_STREQ(body.GetName(), "body");
  const core::meshstate& mesh = body.Skin().mesh;
  ExpectVertices(mesh, 0, 3);
  ExpectPoint(mesh.tverts[4], {0.25F, -3.0F, 0.0F}, 0.0F);
  ASSERT_EQ(mesh.faces.size(), 3U);
  EXPECT_TRUE(std::ranges::equal(mesh.faces[1].v, numbers{2, 1, 3}));
  EXPECT_TRUE(std::ranges::equal(mesh.faces[2].tv, numbers{3, 5, 0}));
  for (int v = 0; v < 6; ++v) {
    int j = 0;
    for (const skelmodel::weight& want : verts[static_cast<std::size_t>(v)].weights) {
      if (want.bone >= 0) {
        cskinweight weight;
        ASSERT_EQ(body.GetVertWeight(v, j++, weight), 1);
        EXPECT_EQ(weight.weight, want.share);
        ExpectPoint(weight.offset, {want.offset[0], want.offset[1], want.offset[2]}, 0.0F);
        ASSERT_EQ(weight.bone, scene->Nodes()[static_cast<std::size_t>(want.bone)]);
        // Turned back by the bone's rotation in the scene's frame 0 it is the mesh's own normal.
        ExpectPoint(weight.normal * weight.bone->GetTMAtFrame(0, kRotationOnly), body.GetNormal(v),
                    1e-5F);
      }
    }
    EXPECT_EQ(body.GetVertNumWeights(v), j);
  }
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
  expect({kMaterials}, bones + 2, 0, 5);
  expect({kMeshes, kAnimation, kBones, kMaterials}, 0, 0, 100);
  expect({kBones}, 2, 2, 100);
  ASSERT_EQ(scene->Nodes()[0]->GetType(), kNodeMesh);
  EXPECT_EQ(scene->Nodes()[1]->GetMaterial(), scene->Materials()[1]);
  ExpectVertices(static_cast<cmesh*>(scene->Nodes()[0])->Mesh(), 0, 0);
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
  model = {};
  model.frames.resize(5);
  model.surfaces = {{"flat", {{}, {}, {}}, {{0, 1, 2}}}};
  ASSERT_EQ(Run(), 1);
  ExpectVertices(Skin(0).Skin().mesh, 0, 0);
  EXPECT_EQ(scene->animEnd, 5);
  model = SmallSkelModel();
  model.surfaces.clear();
  model.tags.clear();
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(scene->Nodes().size(), 3U);
}

using PairImport = importtest;

TEST_F(PairImport, AsksForASkeletonThatFitsBeforeAnythingElse) {
  ASSERT_EQ(Run(), 1);
  EXPECT_STREQ(asked.title, "Load Animation File(MDX)");
  EXPECT_STREQ(asked.filterName, "RTCW-ET MDX Files (*.mdx)");
  EXPECT_STREQ(asked.filterPattern, "*.mdx");
  EXPECT_STREQ(asked.defaultExtension, "mdx");
  EXPECT_EQ(asked.flags, 0x1804U);
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
