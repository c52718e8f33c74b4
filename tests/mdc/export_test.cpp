// The mdc exporter through the loaded module: what it writes, byte by byte, and what a run shows.

#include <algorithm>
#include <cctype>

#include "samples/bytes.h"
#include "support/moduletest.h"
#include "support/scenebuild.h"

namespace {

constexpr std::size_t kHeader = 112;
constexpr std::size_t kFrame = 56;
constexpr std::size_t kSurface = 124;

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
  void SetRange(int start, int end) const {
    scene->animStart = start;
    scene->animEnd = end;
  }
  // The steps of vertex v in frame f of the surface at `surface`.
  static std::array<int, 3> Steps(const bytereader& file, std::size_t surface, int f, int v) {
    const int numVerts = file.I32(surface + 84);
    const std::size_t at = surface + static_cast<std::size_t>(file.I32(surface + 104)) +
                           8 * static_cast<std::size_t>(f * numVerts + v);
    return {file.I16(at), file.I16(at + 2), file.I16(at + 4)};
  }
  static void ExpectNumbers(const bytereader& file, std::size_t at,
                            const std::vector<std::int32_t>& numbers) {
    for (const std::int32_t number : numbers) {
      EXPECT_EQ(file.I32(at), number) << "at " << at;
      at += 4;
    }
  }
  static std::size_t FirstSurface(const bytereader& file) {
    return static_cast<std::size_t>(file.I32(104));
  }
  static std::string ShaderOf(const bytereader& file, std::size_t surface) {
    return file.I32(surface + 80) == 0 ? "none" : file.Name(surface + kSurface);
  }

  std::string origin;
  bool usemodels = true;
};

using steps = std::array<int, 3>;

TEST_F(MdcExport, WritesEveryByteOfTheFile) {
  SetRange(10, 12);
  cbone* bone = AddBone("spine", nullptr, {KeyAt(10, {0, 0, 0}), KeyAt(12, {2, 0, 0}, {0, 90, 0})});
  AddBone("TAG_Head", bone, {KeyAt(0, {1, 0, 0})});
  cmesh* crate = AddTriangle("Crate", {0.99F, -0.99F, 0});
  crate->SetMaterial(AddMaterial("wood", "D:\\Game\\Main\\Models\\Mapobjects\\Crate.tga"));
  AddSkin("cloak", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {bone, bone, bone, bone},
          {{0, 1, 2}, {0, 2, 3}});
  const bytereader file = Write();

  ASSERT_EQ(file.Size(), 980U);
  EXPECT_EQ(file.Field(0, 4), "IDPC");
  EXPECT_EQ(file.I32(4), 2);
  EXPECT_EQ(file.Field(8, 64), std::string("models/crate.mdc") + std::string(48, '\0'));
  ExpectNumbers(file, 72, {0, 3, 1, 2, 0, 112, 280, 344, 380, 980});

  // The box holds the mesh and the deformed skin, not the bones.
  const float boxes[3][6] = {{0, -0.99F, 0, 1.99F, 1.01F, 1}, {}, {0.99F, -0.99F, 0, 2, 1.01F, 1}};
  for (const std::size_t f : {0U, 2U}) {
    const std::size_t at = kHeader + kFrame * f;
    for (std::size_t k = 0; k < 6; ++k) {
      EXPECT_NEAR(file.F32(at + 4 * k), boxes[f][k], 1e-6F) << f << " " << k;
    }
    EXPECT_EQ(file.F32(at + 24), 0.0F);
    EXPECT_NEAR(file.F32(at + 36), 2.0F, 1e-6F);
    EXPECT_EQ(file.Field(at + 40, 16), std::string("(from QMTK)") + std::string(5, '\0'));
  }

  EXPECT_EQ(file.Field(280, 64), std::string("tag_head") + std::string(56, '\0'));
  // Positions, then pitch, yaw and roll; a step toward zero where the sine is not exact.
  const int tags[3][6] = {{64, 0, 0, 0, 0, 0}, {109, 45, 0, 0, 8192, 0}, {128, 64, 0, 0, 16384, 0}};
  for (std::size_t f = 0; f < 3; ++f) {
    for (std::size_t k = 0; k < 6; ++k) {
      EXPECT_NEAR(file.I16(344 + 12 * f + 2 * k), tags[f][k], 1) << f << " " << k;
    }
  }

  // Of each surface: flags, numCompFrames, numBaseFrames, numShaders, numVerts, numTriangles, the
  // offsets of triangles, shaders, st, xyzNormals, xyzCompressed, the two frame tables, the end.
  // With an odd number of frames the vertices stand at no multiple of four, without a gap.
  const std::size_t mesh = 380;
  const std::size_t skin = mesh + 312;
  ExpectNumbers(file, mesh, {7});
  EXPECT_EQ(file.Field(mesh + 4, 64), "Crate" + std::string(59, '\0'));
  ExpectNumbers(file, mesh + 68, {0, 0, 3, 1, 3, 1, 192, 124, 204, 240, 312, 228, 234, 312});
  EXPECT_EQ(file.Field(mesh + 124, 68),
            "models\\mapobjects\\crate.tga" + std::string(68 - 27, '\0'));
  ExpectNumbers(file, mesh + 192, {0, 1, 2});
  ExpectNumbers(file, skin, {7});
  EXPECT_EQ(file.Name(skin + 4), "cloak");
  ExpectNumbers(file, skin + 68, {0, 0, 3, 0, 4, 2, 124, 124, 148, 192, 288, 180, 186, 288});
  ExpectNumbers(file, skin + 124, {0, 1, 2, 0, 2, 3});
  for (int v = 0; v < 3; ++v) {
    const std::size_t st = mesh + 204 + 8 * static_cast<std::size_t>(v);
    EXPECT_EQ(file.F32(st), static_cast<float>(v) / 8.0F);
    EXPECT_EQ(file.F32(st + 4), 1.0F - static_cast<float>(v) / 8.0F);
  }
  for (const std::size_t table : {mesh + 228, skin + 180}) {
    const int entries[] = {0, 1, 2, 0xFFFF, 0xFFFF, 0xFFFF};
    for (std::size_t i = 0; i < 6; ++i) {
      EXPECT_EQ(file.U16(table + 2 * i), entries[i]);
    }
  }
  for (int f = 0; f < 3; ++f) {
    EXPECT_EQ(Steps(file, mesh, f, 0), (steps{63, -63, 0}));
    EXPECT_EQ(Steps(file, mesh, f, 2), (steps{63, 64, 0}));  // 64.64
  }
  EXPECT_EQ(file.U16(mesh + 246), 0);
  EXPECT_EQ(Steps(file, skin, 0, 1), (steps{64, 0, 0}));
  EXPECT_EQ(Steps(file, skin, 2, 3), (steps{128, 0, 64}));
}

TEST_F(MdcExport, CountsFromTheOriginAtSceneFrame0) {
  SetRange(5, 6);
  cmesh* far = AddTriangle("far", {600, -600, 1});
  SetKeys(*far, {KeyAt(0, {0, 0, 0}, {}, {2, 1, 1})});
  AddTriangle("moving");
  AddBone("Anchor", nullptr, {KeyAt(0, {0, 0, 0}), KeyAt(10, {100, 0, 0})});
  AddBone("anchor", nullptr, {KeyAt(0, {1, 2, 3}), KeyAt(5, {50, 0, 0})});
  AddBone("tag_a", nullptr, {KeyAt(0, {1.5F, 2, 1000})});
  const auto surfaceOf = [](const bytereader& file, int index) {
    std::size_t at = FirstSurface(file);
    for (; index > 0; --index) {
      at += static_cast<std::size_t>(file.I32(at + 120));
    }
    return at;
  };
  // Without one, and with a name that no node has, it is the scene's zero.
  for (const char* none : {"", "nobody"}) {
    origin = none;
    const bytereader file = Write();
    EXPECT_EQ(file.F32(kHeader + 24), 0.0F);
    // 1200 units are more than 16 bits hold: they wrap.
    EXPECT_EQ(Steps(file, surfaceOf(file, 0), 1, 0), (steps{76800 - 65536, 65536 - 38400, 64}));
    EXPECT_EQ(Steps(file, surfaceOf(file, 1), 1, 1), (steps{64, 0, 0}));
  }
  origin = "anchor";
  const bytereader file = Write();
  for (const std::size_t f : {0U, 1U}) {
    const std::size_t at = kHeader + kFrame * f;
    EXPECT_EQ(file.F32(at + 24), 1.0F);
    EXPECT_EQ(file.F32(at + 28), 2.0F);
    EXPECT_EQ(file.F32(at + 32), 3.0F);
    EXPECT_EQ(file.F32(at), -1.0F);         // minimum 0
    EXPECT_EQ(file.F32(at + 12), 1201.0F);  // maximum 1202
    EXPECT_EQ(Steps(file, surfaceOf(file, 1), static_cast<int>(f), 1), (steps{0, -128, -192}));
  }
  const auto tag = static_cast<std::size_t>(file.I32(100));
  EXPECT_EQ(file.I16(tag), 32);
  EXPECT_EQ(file.I16(tag + 2), 0);
  EXPECT_EQ(file.I16(tag + 4), (997 * 64) % 65536 - 65536 * ((997 * 64) % 65536 > 32767 ? 1 : 0));
}

TEST_F(MdcExport, WhatIsATagAndWhatASurface) {
  SetRange(0, 0);
  AddBone("my_tag_x", nullptr, {});
  AddDummy("Tag_" + std::string(80, 'X'), nullptr, {});
  AddTriangle("tag_weapon");
  AddTriangle(std::string(80, 'S'));
  const bytereader file = Write("out/" + std::string(100, 'N') + ".mdc");
  ASSERT_EQ(file.I32(80), 2);
  const auto names = static_cast<std::size_t>(file.I32(96));
  EXPECT_EQ(file.Field(names, 64), "tag_" + std::string(59, 'x') + std::string(1, '\0'));
  EXPECT_EQ(file.Name(names + 64), "tag_weapon");
  ASSERT_EQ(file.I32(84), 2);
  const std::size_t first = FirstSurface(file);
  const std::size_t second = first + static_cast<std::size_t>(file.I32(first + 120));
  EXPECT_EQ(file.Name(first + 4), "tag_weapon");
  EXPECT_EQ(file.Field(second + 4, 64), std::string(63, 'S') + std::string(1, '\0'));
  EXPECT_EQ(file.Field(8, 64), "models/" + std::string(56, 'n') + std::string(1, '\0'));
}

TEST_F(MdcExport, ASceneWithoutSurfacesStillGivesAFile) {
  SetRange(0, 1);
  AddBone("anchor", nullptr, {KeyAt(0, {1, 2, 3})});
  origin = "anchor";
  const bytereader file = Write();
  EXPECT_EQ(file.Size(), 112U + 2 * 56U);
  ExpectNumbers(file, 76, {2, 0, 0, 0, 112, 224, 224, 224, 224});
  EXPECT_EQ(file.F32(kHeader), 100000.0F - 1.0F);
  EXPECT_EQ(file.F32(kHeader + 12), -100000.0F - 1.0F);
  EXPECT_EQ(file.F32(kHeader + 36), -200000.0F);
}

TEST_F(MdcExport, FacesWithoutATriangleAreLeftOutAndTheListClosesUp) {
  cmesh* mesh = AddMesh("m", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
                        {{0, 1, 2}, {0, 1, 9}, {3, 2, 1}, {-1, 0, 1}});
  EXPECT_EQ(mesh->numFaces, 4);
  const bytereader file = Write();
  const std::size_t at = FirstSurface(file);
  EXPECT_EQ(file.I32(at + 88), 2);
  ExpectNumbers(file, at + 124, {0, 1, 2, 3, 2, 1});
}

TEST_F(MdcExport, ManySurfacesKeepTheirOrder) {
  std::vector<std::string> names;
  for (int i = 0; i < 35; ++i) {
    names.push_back("s" + std::to_string(i));
    AddTriangle(names.back());
    AddBone("between", nullptr, {});
  }
  const bytereader file = Write();
  ASSERT_EQ(file.I32(84), 35);
  std::size_t at = FirstSurface(file);
  for (const std::string& name : names) {
    EXPECT_EQ(file.Name(at + 4), name);
    at += static_cast<std::size_t>(file.I32(at + 120));
  }
  EXPECT_EQ(at, file.Size());
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
  AddTriangle("bare");
  for (const bool with : {true, false}) {
    usemodels = with;
    const bytereader file = Write();
    std::size_t at = FirstSurface(file);
    for (const auto& path : paths) {
      EXPECT_EQ(ShaderOf(file, at), with ? path.with : path.without);
      at += static_cast<std::size_t>(file.I32(at + 120));
    }
    EXPECT_EQ(ShaderOf(file, at), "none");
    EXPECT_EQ(file.I32(at + 92), 124);
    std::string lower = directory.Path() + "/out/crate.mdc";
    std::ranges::transform(lower, lower.begin(), [](unsigned char c) { return std::tolower(c); });
    EXPECT_EQ(file.Name(8), with ? "models/crate.mdc" : lower.substr(0, 63));
  }
  EXPECT_EQ(Write("Models/Sub/Crate.mdc").Name(8), "models/sub/crate.mdc");
}

TEST_F(MdcExport, ShowsItsPassesAndWaits) {
  SetRange(3, 4);
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

TEST_F(MdcExport, SixteenBitsOfFrames) {
  SetRange(0, 65536);
  AddTriangle("t");
  const bytereader file = Write();
  EXPECT_EQ(file.I32(76), 65537);
  ASSERT_GT(log.steps.size(), 65537U);
  EXPECT_EQ(log.steps[65537], (progressstep{"Calculating Frame: 65536 of 65537\n", 1, 65536}));
  const std::size_t surface = FirstSurface(file);
  const std::size_t table = surface + static_cast<std::size_t>(file.I32(surface + 112));
  EXPECT_EQ(file.U16(table + 2 * 65535), 65535);
  EXPECT_EQ(file.U16(table + 2 * 65536), 0);
  EXPECT_EQ(file.Size(), surface + static_cast<std::size_t>(file.I32(surface + 120)));
}

TEST_F(MdcExport, WhatWasWrittenComesBackAsItWas) {
  AddBone("tag_head", nullptr, {KeyAt(0, {1, -2.5F, 3}, {30, -120, 75})});
  AddTriangle("Crate", {5, 6, 7})->SetMaterial(AddMaterial("m", "models/a/Crate.jpg"));
  AddMesh("Strip", {{0, 0, 0}, {8.25F, 0, -1}, {0, 3, 0}, {1, 1, 1}}, {{0, 1, 2}, {2, 1, 3}});
  const std::string path = directory.File("models/a.mdc");
  ASSERT_EQ(Export(path), 1);
  const bytes written = ReadBytes(path);
  NewScene();
  ASSERT_EQ(Import(path), 1);
  ASSERT_EQ(Export(path), 1);
  const bytes again = ReadBytes(path);
  ASSERT_EQ(again.size(), written.size());
  const bytereader before(written);
  const bytereader after(again);
  // Angles may fall to a neighbouring step, the image to the suffix that was tried last.
  const auto tag = static_cast<std::size_t>(before.I32(100));
  const std::size_t shader = FirstSurface(before) + kSurface;
  EXPECT_EQ(before.Name(shader), "models/a/crate.jpg");
  EXPECT_EQ(after.Name(shader), "models/a/crate.tga");
  for (std::size_t i = 0; i < written.size(); ++i) {
    if (i >= tag + 6 && i < tag + 12) {
      EXPECT_NEAR(after.I16(i & ~std::size_t{1}), before.I16(i & ~std::size_t{1}), 1);
    } else if (i < shader || i >= shader + 64) {
      EXPECT_EQ(again[i], written[i]) << "at byte " << i;
    }
  }
}

}  // namespace
