// The mdc importer through the loaded module, on files written byte by byte.

#include "samples/mdcmodel.h"
#include "support/moduletest.h"
#include "support/scenebuild.h"

namespace {

class MdcImport : public moduletest {
 protected:
  MdcImport() {
    desk.scripts[102] = [this](desktop::scriptedwindow& window) {
      ++asked;
      window.Type(1009, frame);
      window.Ok();
    };
  }

  int Run(const bytes& content) { return Import(directory.Write("models/test.mdc", content)); }
  void ExpectNothingDone() const {
    EXPECT_TRUE(scene->Nodes().empty());
    EXPECT_TRUE(scene->Materials().empty());
    EXPECT_EQ(Notes(), "");
    EXPECT_TRUE(log.events.empty());
  }

  mdcmodel model = SmallMdcModel();
  std::string frame = "0";
  int asked = 0;  // times that the options dialog was shown
};

TEST_F(MdcImport, BringsTheChosenFrameInAndNothingElse) {
  frame = "1";
  // A face a quarter as large as its neighbour, bent up by 40 degrees.
  model.surfaces[1].baseFrames[0][3] = {381, 381, 73};
  model.surfaces[1].compByFrame[1] = 0xFFFF;
  ASSERT_EQ(Run(model.Write()), 1);
  EXPECT_TRUE(log.events.empty());  // no window, no cursor, no wait

  // Bones before meshes.
  ASSERT_EQ(scene->Nodes().size(), 4U);
  EXPECT_EQ(static_cast<cbone*>(Node("tag_head"))->anim.State().keys.size(), 1U);
  const core::meshstate& cape = static_cast<cmesh*>(scene->Nodes()[3])->Mesh();
  const cface& face = cape.faces[1];
  EXPECT_TRUE(face.v[0] == 2 && face.v[1] == 1 && face.v[2] == 3);
  EXPECT_TRUE(face.type == 2 && face.flags == 0xE0 && face.group == 0 && face.matid == 0);
  EXPECT_NEAR(cape.normals[1].z, -0.991F, 1e-3F) << "both faces' mean, seen from below";
  EXPECT_EQ(scene->Nodes()[2]->GetMaterial(), scene->Materials()[0]);
  EXPECT_EQ(scene->Nodes()[3]->GetMaterial(), scene->Materials()[1]);
}

TEST_F(MdcImport, TheNoteTellsWhatTheHeaderSaysWhateverThatIs) {
  model.ident = "abcd";
  model.version = -3;
  model.numSkins = 5;
  ASSERT_EQ(Run(model.Write()), 1);
  EXPECT_EQ(Notes(),
            "RTCW MDC Model: models/test.mdc\nident:        abcd\nversion:      -3\n"
            "Num Frames:   2\nNum Surfaces: 2\nNum Skins:    5\nNum Tags:     2\n\n");
  // Names that fill their field have no end of their own.
  model.ident = std::string("ID\0C", 4);
  model.name = model.tags[0].name = model.surfaces[0].name = std::string(64, 'n');
  model.surfaces[0].shaders[0] = std::string(64, 's');
  ASSERT_EQ(Run(model.Write()), 1);
  EXPECT_NE(Notes().find("RTCW MDC Model: " + std::string(64, 'n') + "\nident:        ID\n"),
            std::string::npos);
  EXPECT_NE(Node(std::string(64, 'n')), nullptr);
}

TEST_F(MdcImport, AModelWithoutAnythingIsAModelAndACancelledDialogDoesNothing) {
  model.tags.clear();
  model.surfaces.clear();
  EXPECT_EQ(Run(model.Write()), 1);
  EXPECT_TRUE(scene->Nodes().empty());
  EXPECT_NE(Notes().find("Num Tags:     0\n\n"), std::string::npos);
  NewScene();
  desk.scripts[102] = [](desktop::scriptedwindow& window) { window.Cancel(); };
  EXPECT_EQ(Run(model.Write()), -1);
  ExpectNothingDone();
}

TEST_F(MdcImport, AFileThatDoesNotHoldIsRefusedBeforeAnythingHappens) {
  const bytes good = model.Write();
  const std::int64_t surface = bytereader(good).I32(104);
  // A field of the header or, from 1000 on, of the first surface, and what it is set to.
  const std::pair<std::int64_t, std::int64_t> bad[] = {
      {76, 0},      {80, 1000},    {92, 4000},        {96, -4},     {104, 5000},
      {1080, 9},    {1088, 500},   {1092, -2000},     {1096, 9999}, {1100, 9999},
      {1112, 9999}, {1116, -9999}, {1120, 2147483647}};
  for (const auto& [field, value] : bad) {
    SCOPED_TRACE(std::to_string(field) + " = " + std::to_string(value));
    bytes file = good;
    Patch(file, field >= 1000 ? surface + field - 1000 : field, value);
    EXPECT_EQ(Run(file), 0);
  }
  EXPECT_EQ(Run({}) + Import(directory.File("missing.mdc")), 0);
  EXPECT_EQ(asked, 0);
  ExpectNothingDone();
}

// Only the frame that is imported has to lie inside the file, and only faces of vertices that are
// there come into the scene.
TEST_F(MdcImport, WhatNoImportReachesIsNoFault) {
  const bytes good = model.Write();
  const std::int64_t surface = bytereader(good).I32(104);
  const struct {
    std::int64_t field;  // of the first surface
    std::int64_t value;
    const char* frame;
    int result;
    std::size_t faces;
  } cases[] = {{228, 9000 << 16, "0", 1, 1},
               {228, 9000 << 16, "1", 0, 0},
               {104, 9999, "0", 0, 0},
               {232, 9000 << 16 | 0xFFFF, "0", 1, 1},
               {232, 9000 << 16 | 0xFFFF, "1", 0, 0},
               {196, 3, "0", 1, 0},
               {196, -1, "1", 1, 0},
               {84, -1, "0", 1, 0},
               {88, -1, "0", 1, 0}};
  for (const auto& each : cases) {
    SCOPED_TRACE(std::to_string(each.field) + " = " + std::to_string(each.value));
    bytes file = good;
    Patch(file, surface + each.field, each.value);
    NewScene();
    frame = each.frame;
    ASSERT_EQ(Run(file), each.result);
    if (each.result == 0) {
      ExpectNothingDone();
      continue;
    }
    auto* const body = static_cast<cmesh*>(scene->Nodes()[2]);
    EXPECT_EQ(body->Mesh().faces.size(), each.faces);
    EXPECT_EQ(body->numFaces, static_cast<int>(each.faces));
    EXPECT_EQ(scene->warnings.size(), each.field == 196 || each.field == 84 ? 1U : 0U);
  }
}

}  // namespace
