// The mdc exporter through the loaded module: what it writes, byte by byte, and what a run shows.

#include <algorithm>
#include <cctype>

#include "samples/bytes.h"
#include "support/moduletest.h"
#include "support/scenebuild.h"

namespace {

class MdcExport : public moduletest {
 protected:
  MdcExport() {
    desk.scripts[103] = [this](desktop::scriptedwindow& window) {
      window.Type(1015, origin);
      if (window.Checked(1012) != usemodels) {
        window.Click(1012);
      }
      window.Ok();
    };
  }

  // Exports to a path without a models folder, and gives what was written.
  bytereader Write(const std::string& name = "out/Crate.mdc") {
    const std::string path = directory.File(name);
    EXPECT_EQ(Export(path), 1);
    return bytereader(ReadBytes(path));
  }
  static void ExpectNumbers(const bytereader& file, std::size_t at,
                            const std::vector<std::int32_t>& numbers) {
    for (const std::int32_t number : numbers) {
      EXPECT_EQ(file.I32(at), number) << "at " << at;
      at += 4;
    }
  }
  std::string origin;
  bool usemodels = true;
};

// What the fields say that no other check reads, and where everything stands.
TEST_F(MdcExport, WritesItsTablesOneBehindTheOther) {
  scene->animStart = 10;
  scene->animEnd = 12;
  cbone* bone = AddBone("spine", nullptr, {KeyAt(0, {0, 0, 0})});
  AddBone("TAG_" + std::string(80, 'X'), bone, {KeyAt(0, {1.5F, -0.99F, 1000})});
  AddBone("my_tag_x", bone, {});
  cmesh* crate = AddTriangle("tag_" + std::string(80, 'S'), {600, -0.99F, 0});
  SetKeys(*crate, {KeyAt(0, {0, 0, 0}, {}, {2, 1, 1})});
  crate->SetMaterial(AddMaterial("wood", "D:\\Game\\Main\\Models\\Mapobjects\\Crate.tga"));
  // A face without a triangle is left out and the list closes up.
  AddMesh("cloak", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
          {{0, 1, 2}, {0, 1, 9}, {3, 2, 1}, {-1, 0, 1}});
  const bytereader file = Write();

  EXPECT_EQ(file.Field(0, 4), "IDPC");
  EXPECT_EQ(file.Field(8, 64), std::string("models/crate.mdc") + std::string(48, '\0'));
  ExpectNumbers(file, 4, {2});
  // A mesh with a tag's name is both.
  ExpectNumbers(file, 72, {0, 3, 2, 2, 0, 112, 280, 408, 480, 1080});
  EXPECT_EQ(file.F32(112), 0.0F);
  EXPECT_EQ(file.F32(112 + 12), 1202.0F);
  EXPECT_EQ(file.F32(112 + 36), 1202.0F);
  EXPECT_EQ(file.Field(112 + 40, 16), std::string("(from QMTK)") + std::string(5, '\0'));
  EXPECT_EQ(file.Field(280, 64), "tag_" + std::string(59, 'x') + std::string(1, '\0'));
  EXPECT_EQ(file.Name(344), "tag_" + std::string(59, 's'));
  // In steps of a 64th, toward zero; 16 bits of them: they wrap.
  EXPECT_EQ(file.I16(408), 96);
  EXPECT_EQ(file.I16(410), -63);
  EXPECT_EQ(file.I16(412), 64000 - 65536);

  // Of each surface: flags, numCompFrames, numBaseFrames, numShaders, numVerts, numTriangles, the
  // offsets of triangles, shaders, st, xyzNormals, xyzCompressed, the two frame tables, the end.
  // With an odd number of frames the vertices stand at no multiple of four, without a gap.
  const std::size_t mesh = 480;
  const std::size_t cloak = mesh + 312;
  ExpectNumbers(file, mesh, {7});
  EXPECT_EQ(file.Field(mesh + 4, 64), "tag_" + std::string(59, 'S') + std::string(1, '\0'));
  ExpectNumbers(file, mesh + 68, {0, 0, 3, 1, 3, 1, 192, 124, 204, 240, 312, 228, 234, 312});
  EXPECT_EQ(file.Field(mesh + 124, 68),
            "models\\mapobjects\\crate.tga" + std::string(68 - 27, '\0'));
  ExpectNumbers(file, cloak + 68, {0, 0, 3, 0, 4, 2, 124, 124, 148, 192, 288, 180, 186, 288});
  ExpectNumbers(file, cloak + 124, {0, 1, 2, 3, 2, 1});
  EXPECT_EQ(file.Size(), cloak + 288);
  const int entries[] = {0, 1, 2, 0xFFFF, 0xFFFF, 0xFFFF};
  for (std::size_t i = 0; i < 6; ++i) {
    EXPECT_EQ(file.U16(mesh + 228 + 2 * i), entries[i]);
  }
}

TEST_F(MdcExport, CountsFromTheFirstNodeOfTheNameAtSceneFrame0) {
  scene->animStart = scene->animEnd = 5;
  AddBone("Anchor", nullptr, {KeyAt(0, {0, 0, 0}), KeyAt(10, {100, 0, 0})});
  AddBone("anchor", nullptr, {KeyAt(0, {1, 2, 3}), KeyAt(5, {50, 0, 0})});
  for (const char* name : {"", "nobody", "anchor"}) {
    const cpoint3 from = std::string(name) == "anchor" ? MakePt3(1, 2, 3) : MakePt3(0, 0, 0);
    origin = name;
    const bytereader file = Write();
    EXPECT_EQ(file.Size(), 112U + 56U);
    ExpectNumbers(file, 76, {1, 0, 0, 0, 112, 168, 168, 168, 168});
    // The box of nothing.
    EXPECT_EQ(file.F32(112), 100000.0F - from.x);
    EXPECT_EQ(file.F32(124), -100000.0F - from.x);
    EXPECT_EQ(file.F32(136), from.x);
    EXPECT_EQ(file.F32(144), from.z);
    EXPECT_EQ(file.F32(148), -200000.0F);
  }
}

TEST_F(MdcExport, ShadersAndTheModelNameAreTheGamesOwnPaths) {
  const struct {
    const char* image;
    const char* with;  // models as the directory
    const char* without;
  } paths[] = {{"C:/x/models/a/models/B.TGA", "models/a/models/b.tga", "models/a/models/b.tga"},
               {"models\\b/models/c.tga", "models/c.tga", "models/c.tga"},
               {"D:\\Textures\\Wall.jpg", "models/wall.jpg", "d:\\textures\\wall.jpg"},
               {"/Art\\x/Wall\\b.jpg", "models/wall\\b.jpg", "/art\\x/wall\\b.jpg"},
               {"Plain", "models/plain", "plain"},
               {"<EMPTY>", "none", "none"},
               {nullptr, "none", "none"}};
  for (const auto& path : paths) {
    AddTriangle("s")->SetMaterial(AddMaterial("m", path.image));
  }
  for (const bool with : {true, false}) {
    usemodels = with;
    const bytereader file = Write("out/" + std::string(100, 'N') + ".mdc");
    auto at = static_cast<std::size_t>(file.I32(104));
    for (const auto& path : paths) {
      EXPECT_EQ(file.I32(at + 80) == 0 ? "none" : file.Name(at + 124),
                with ? path.with : path.without);
      at += static_cast<std::size_t>(file.I32(at + 120));
    }
    std::string lower = directory.Path() + "/out/" + std::string(100, 'n');
    std::ranges::transform(lower, lower.begin(), [](unsigned char c) { return std::tolower(c); });
    EXPECT_EQ(file.Name(8), with ? "models/" + std::string(56, 'n') : lower.substr(0, 63));
  }
  EXPECT_EQ(Write("Models/Sub/Crate.mdc").Name(8), "models/sub/crate.mdc");
}

TEST_F(MdcExport, ShowsItsPassesAndWaits) {
  scene->animEnd = 1;
  AddTriangle("first");
  AddBone("tag_a", nullptr, {});
  AddTriangle("second");
  Write();
  EXPECT_EQ(log.caption, "Exporting MDC - Please wait...");
  EXPECT_EQ(log.steps, (std::vector<progressstep>{{"Static", 2, 0},
                                                  {"Calculating Frame: 0 of 2\n", 2, 0},
                                                  {"Calculating Frame: 1 of 2\n", 2, 1},
                                                  {"Calculating Frame: 1 of 2\n", 2, 0},
                                                  {"Calculating Tag Frame: 0 of 2\n", 2, 0},
                                                  {"Calculating Tag Frame: 1 of 2\n", 2, 1},
                                                  {"Calculating Tag Frame: 1 of 2\n", 3, 0},
                                                  {"Creating Surface Frames: first\n", 3, 0},
                                                  {"Creating Surface Frames: second\n", 3, 2}}));
  EXPECT_EQ(log.events, (std::vector<std::string>{"wait cursor", "window", "sleep 500",
                                                  "window closed", "old cursor"}));
  // A pass without anything to do leaves the window as it stands.
  NewScene();
  AddDummy("x", nullptr, {});
  Write();
  EXPECT_EQ(log.Texts(), (std::vector<std::string>{"Static", "Calculating Frame: 0 of 1\n"}));
}

TEST_F(MdcExport, WhatEndsARunEarlyShowsNothingFurther) {
  const std::string path = directory.Write("old.mdc", std::string("old"));
  EXPECT_EQ(Export(path), -1);
  EXPECT_EQ(log.messages, (std::vector<shownmessage>{{"No objects in scene!", "Export MDC", 48}}));
  EXPECT_EQ(log.events.size(), 1U);

  AddTriangle("t");
  desk.scripts[103] = [](desktop::scriptedwindow& window) { window.Cancel(); };
  EXPECT_EQ(Export(path), -1);
  EXPECT_TRUE(log.events.empty());
  EXPECT_EQ(ReadBytes(path).size(), 3U);

  desk.scripts.clear();
  EXPECT_EQ(Export(directory.Path() + "/missing/new.mdc"), 0);
  EXPECT_TRUE(log.events.empty());
  EXPECT_EQ(Export(path), 1);
}

}  // namespace
