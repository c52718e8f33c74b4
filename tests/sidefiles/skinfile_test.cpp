#include "sidefiles/skinfile.h"

#include <gtest/gtest.h>

#include <optional>

#include "samples/tempdirectory.h"

namespace {

// The image of the line's row; nothing where the line makes none.
std::optional<std::string> Image(const std::string& line, skinform form) {
  surfmat row;
  return ParseSkinLine(line.c_str(), form, "/game/", row) ? std::optional(row.image) : std::nullopt;
}

TEST(SkinLines, BothFormsSideBySide) {
  struct example {
    std::string line;
    std::optional<std::string> plain;
    std::optional<std::string> quoted;
  };
  const std::optional<std::string> none;
  const example examples[] = {
      {"body,models/a.tga\n", "/game/models/a.tga", ""},
      {"body, \"models/a.JPG\" x\r\n", "/game/ \"models/a.JPG\" x", "/game/models/a.JPG"},
      {"body,\"a.tga\n", "/game/\"a.tga", "/game/a.tga"},
      {"body,\"a.tga\"b\"c\n", "/game/\"a.tga\"b\"c", "/game/a.tga\"b"},
      {"body,\"a.tga\"\rrest", "/game/\"a.tga\"", "/game/a.tga"},
      // The first full stop may stand before the comma; the suffix may be anywhere behind it.
      {"u.body,a.tga.bak", "/game/a.tga.bak", ""},
      {"a.tga,none", "/game/none", ""},
      {"body models/a.tga", none, none},
      {"body,models/a", none, none},
      {"body,a.Tga", none, none},
      {"tag_head,models/head.mdc", none, none},
      {",a.jpg", "/game/a.jpg", ""},
  };
  for (const example& each : examples) {
    EXPECT_EQ(Image(each.line, skinform::Plain), each.plain) << each.line;
    EXPECT_EQ(Image(each.line, skinform::Quoted), each.quoted) << each.line;
  }
}

TEST(SkinLines, NamesBeyondTheirFieldsAreCut) {
  surfmat row;
  const std::string line = std::string(200, 's') + ",a.tga" + std::string(200, 'i');
  ASSERT_TRUE(ParseSkinLine(line.c_str(), skinform::Plain, std::string(400, 'g'), row));
  EXPECT_EQ(row.surface, std::string(127, 's'));
  EXPECT_EQ(row.image, std::string(400, 'g') + "a.tga" + std::string(106, 'i'));
}

TEST(SkinFile, RowsAndTheirSurfaces) {
  const tempdirectory directory;
  const std::string path =
      directory.Write("x.skin", "// c,a.tga\n\nbody,a.tga\nBody,b.tga\nzero" +
                                    std::string(1, '\0') + ",d.tga\nbody,c.tga\nhat,d.tga");
  csurfmats mats;
  mats.Allocate(1);
  EXPECT_FALSE(mats.LoadSkinFile(path.c_str(), skinform::Plain, ""));
  EXPECT_FALSE(mats.LoadSkinFile(directory.File("none").c_str(), skinform::Plain, "/g/"));
  ASSERT_TRUE(mats.LoadSkinFile(path.c_str(), skinform::Plain, "/g/"));
  std::vector<std::string> images;
  for (surfmat& row : mats.Rows()) {
    images.push_back(row.image);
    row.mat = reinterpret_cast<cmaterial*>(&row);
  }
  EXPECT_EQ(images, (std::vector<std::string>{"/g/a.tga", "/g/b.tga", "/g/c.tga", "/g/d.tga"}));
  EXPECT_EQ(mats.FindMatBySurface("body"), mats.Rows()[0].mat);
  EXPECT_EQ(mats.FindMatBySurface("hat"), mats.Rows()[3].mat);
  EXPECT_EQ(mats.FindMatBySurface("BODY"), nullptr);
  // Nothing of one file is left when the next is read.
  ASSERT_TRUE(mats.LoadSkinFile(directory.Write("y.skin", std::string("// none\n")).c_str(),
                                skinform::Plain, "/g/"));
  EXPECT_TRUE(mats.Rows().empty());
  EXPECT_EQ(mats.FindMatBySurface("body"), nullptr);
}

}  // namespace
