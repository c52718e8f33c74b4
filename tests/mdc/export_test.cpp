// The mdc exporter through the loaded module: what it writes, byte by byte, and what a run shows.

#include <algorithm>
#include <cctype>

#include "samples/mdcmodel.h"
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
  bytereader Write(const std::string& name) {
    const std::string path = directory.File(name);
    EXPECT_EQ(Export(path), 1);
    return bytereader(ReadBytes(path));
  }
  // Exports to the model's own name.
  void ExpectFile(const mdcmodel& expected) {
    const std::string path = directory.File(expected.name);
    EXPECT_EQ(Export(path), 1);
    const bytes written = ReadBytes(path);
    const bytes wanted = expected.Write();
    EXPECT_EQ(std::ranges::mismatch(written, wanted).in1 - written.begin(), std::ssize(wanted));
    EXPECT_EQ(written.size(), wanted.size());
  }
  std::string origin;
  bool usemodels = true;
};

TEST_F(MdcExport, WritesItsTablesOneBehindTheOther) {
  scene->animStart = 10;
  scene->animEnd = 12;
  cbone* bone = AddBone("spine", nullptr, {KeyAt(0, {0, 0, 0})});
  AddBone("TAG_" + std::string(80, 'X'), bone, {KeyAt(0, {1.5F, -0.99F, 1000}, {0, 45.004F, 0})});
  AddBone("my_tag_x", bone, {});
  cmesh* crate = AddTriangle("tag_" + std::string(80, 'S'), {600, -0.99F, 0});
  core::SetKeys(*crate,
                {KeyAt(10, {0, 0, 0}, {}, {2, 1, 1}), KeyAt(12, {20, 0, 0}, {}, {2, 1, 1})});
  crate->SetMaterial(AddMaterial("wood", "D:\\Game\\Main\\Models\\Mapobjects\\Crate.tga"));
  // A face without a triangle is left out and the list closes up.
  AddMesh("cloak", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
          {{0, 1, 2}, {0, 1, 9}, {3, 2, 1}, {-1, 0, 1}});
  // A skin stands where its bones have it, wherever its own node goes.
  core::SetKeys(
      *AddSkin("flag", {{2, 0, 0}, {3, 0, 0}, {2, 1, 0}}, {bone, bone, bone}, {{0, 1, 2}}),
      {KeyAt(10, {0, 0, 50}), KeyAt(12, {0, 30, 70})});

  mdcmodel wanted;
  wanted.name = "models/crate.mdc";
  wanted.frames = {{0, -0.99F, 0, 1202, 2 - 0.99F, 1, 0, 0, 0, 1202},
                   {0, -0.99F, 0, 1212, 2 - 0.99F, 1, 0, 0, 0, 1212},
                   {0, -0.99F, 0, 1222, 2 - 0.99F, 1, 0, 0, 0, 1222}};
  wanted.frameName = "(from QMTK)";
  // In steps of a 64th, toward zero; 16 bits of them: they wrap. A mesh with a tag's name is both.
  wanted.tags = {{"tag_" + std::string(59, 'x'), {3, {96, -63, 64000 - 65536, 0, 8192, 0}}},
                 {"tag_" + std::string(59, 's'), {{}, {640}, {1280}}}};
  wanted.surfaces = {{"tag_" + std::string(59, 'S'),
                      {"models\\mapobjects\\crate.tga"},
                      {{0, 1, 2}},
                      {{0, 1}, {0.125F, 0.875F}, {0.25F, 0.75F}},
                      {{{11264, -63, 0}, {11392, -63, 0}, {11264, 64, 0}},
                       {{11904, -63, 0}, {12032, -63, 0}, {11904, 64, 0}},
                       {{12544, -63, 0}, {12672, -63, 0}, {12544, 64, 0}}},
                      {},
                      {0, 1, 2},
                      {0xFFFF, 0xFFFF, 0xFFFF}},
                     {"cloak",
                      {},
                      {{0, 1, 2}, {3, 2, 1}},
                      {{0, 1}, {0.125F, 0.875F}, {0.25F, 0.75F}, {0.375F, 0.625F}},
                      {3, {{0, 0, 0}, {64, 0, 0}, {0, 64, 0}, {0, 0, 64}}},
                      {},
                      {0, 1, 2},
                      {0xFFFF, 0xFFFF, 0xFFFF}},
                     {"flag",
                      {},
                      {{0, 1, 2}},
                      {{0, 1}, {0.125F, 0.875F}, {0.25F, 0.75F}},
                      {3, {{128, 0, 0}, {192, 0, 0}, {128, 64, 0}}},
                      {},
                      {0, 1, 2},
                      {0xFFFF, 0xFFFF, 0xFFFF}}};
  ExpectFile(wanted);
}

TEST_F(MdcExport, CountsFromTheFirstNodeOfTheNameAtSceneFrame0) {
  scene->animStart = scene->animEnd = 5;
  AddBone("Anchor", nullptr, {KeyAt(0, {0, 0, 0}), KeyAt(10, {100, 0, 0})});
  AddBone("anchor", nullptr, {KeyAt(0, {1, 2, 3}), KeyAt(5, {50, 0, 0})});
  mdcmodel wanted;
  wanted.name = "models/empty.mdc";
  wanted.frameName = "(from QMTK)";
  for (const char* name : {"", "nobody", "anchor"}) {
    const auto [x, y, z] = std::string(name) == "anchor" ? MakePt3(1, 2, 3) : MakePt3(0, 0, 0);
    origin = name;
    // The box of nothing.
    wanted.frames = {
        {1e5F - x, 1e5F - y, 1e5F - z, -1e5F - x, -1e5F - y, -1e5F - z, x, y, z, -2e5F}};
    ExpectFile(wanted);
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
               {"", "models/", ""},
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

TEST_F(MdcExport, ShowsItsPasses) {
  scene->animEnd = 1;
  AddTriangle("first");
  AddBone("tag_a", nullptr, {});
  AddTriangle("second");
  Write("out.mdc");
  EXPECT_EQ(log.steps, (std::vector<progressstep>{{"Static", 2, 0},
                                                  {"Calculating Frame: 0 of 2\n", 2, 0},
                                                  {"Calculating Frame: 1 of 2\n", 2, 1},
                                                  {"Calculating Frame: 1 of 2\n", 2, 0},
                                                  {"Calculating Tag Frame: 0 of 2\n", 2, 0},
                                                  {"Calculating Tag Frame: 1 of 2\n", 2, 1},
                                                  {"Calculating Tag Frame: 1 of 2\n", 3, 0},
                                                  {"Creating Surface Frames: first\n", 3, 0},
                                                  {"Creating Surface Frames: second\n", 3, 2}}));
  // A pass without anything to do leaves the window as it stands.
  NewScene();
  AddDummy("x", nullptr, {});
  Write("out.mdc");
  EXPECT_EQ(log.Texts(), (std::vector<std::string>{"Static", "Calculating Frame: 0 of 1\n"}));
}

}  // namespace
