#include "sidefiles/filelist.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "samples/tempdirectory.h"
#include "sidefiles/cfgline.h"
#include "sidefiles/directories.h"
#include "sidefiles/textfile.h"

namespace {

TEST(FileList, FindsByWildcardsAnyCaseAndSortsByBytes) {
  const tempdirectory directory;
  for (const std::string name : {"b.skin", "a.SKIN", "Z.skin", "skin_sk.txt", "notes.txt"}) {
    directory.Write(name, std::string());
  }
  directory.Write(std::string(90, 'x') + ".skin", std::string());
  std::filesystem::create_directory(directory.File("c.skin"));
  std::filesystem::create_directory(directory.File(".hidden.skin"));
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(directory.Path());

  cfilelist files;
  // The result, and what stands in the list then.
  const auto list = [&](const std::string& pattern, int mode = kListPlainFiles) {
    std::string told = std::to_string(ListFiles(mode, pattern.c_str(), files));
    for (int i = 0; i < files.Count(); ++i) {
      told += std::string(" ") + files.Names()[i];
    }
    return told;
  };
  EXPECT_EQ(list(directory.Path() + "/*.skin"), "0 Z.skin a.SKIN b.skin " + std::string(63, 'x'));
  EXPECT_EQ(list("*sk*sk*"), "0 skin_sk.txt");
  EXPECT_EQ(list("A?s*N"), "0 a.SKIN");
  files.InsertSorted("\xC3\xA4");
  files.InsertSorted("~");
  EXPECT_STREQ(files.Names()[2], "\xC3\xA4");
  EXPECT_EQ(list("*.skin", kListDirectories), "0 c.skin");
  // What finds nothing leaves the list alone; what accepts nothing empties it.
  for (const char* none : {"?.none", "missing/*.skin", "b.skin/*"}) {
    EXPECT_EQ(list(none), "1 c.skin") << none;
  }
  EXPECT_EQ(list("a.SKIN"), "2 c.skin");
  EXPECT_EQ(list("*.skin", 2), "-1");
  std::filesystem::current_path(before);
}

TEST(CfgLines, CommentsShortLinesAndLongLines) {
  const tempdirectory directory;
  const std::string path = directory.Write(
      "lines.cfg", "\n// comment\nab\n //not one\n" + std::string(600, 'y') + "\nno end");
  std::vector<std::string> lines;
  const auto take = [&](const cfgline& line) {
    lines.push_back(std::to_string(line.number) + (line.cut ? "+" : ":") + line.text);
    return true;
  };
  ASSERT_TRUE(ReadCfgFile(path.c_str(), take));
  EXPECT_EQ(lines,
            (std::vector<std::string>{"3:ab\n", "4: //not one\n", "5+" + std::string(511, 'y'),
                                      "5:" + std::string(89, 'y') + "\n", "6:no end"}));
  // A comment or a single character at the end yields nothing.
  lines.clear();
  ASSERT_TRUE(ReadCfgFile(directory.Write("end.cfg", "ab\nx\n//c\nx").c_str(), take));
  EXPECT_EQ(lines, (std::vector<std::string>{"1:ab\n", "2:x\n"}));
  lines.clear();
  EXPECT_FALSE(ReadCfgFile(directory.File("none.cfg").c_str(), take));
  EXPECT_FALSE(ReadCfgFile(directory.Path().c_str(), take));
  EXPECT_TRUE(lines.empty());
}

TEST(SideFileText, EncodingsAndLineEnds) {
  using namespace std::string_literals;
  const std::pair<std::string, std::string> examples[] = {
      {"a\rb\r", "a\nb\n"},
      {"a\rb\r\n", "a\rb\r\n"},
      {"\xFF\xFE"
       "a\0\r\0b\0x"s,
       "a\nb"},
      // One to four bytes in UTF-8, and halves of pairs.
      {"\xFE\xFF\0a\0\xE4\x20\xAC\xD8\x3D\xDE\x00\0\n"s, "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\n"},
      {"\xFF\xFE\x3D\xD8"
       "a\0\x00\xDE\x3D\xD8"s,
       "\xEF\xBF\xBD"
       "a\xEF\xBF\xBD\xEF\xBF\xBD"},
      {"\xFF\xFE", ""},
      {"a\0b\0"s, "a\0b\0"s},
  };
  for (const auto& [bytes, text] : examples) {
    EXPECT_EQ(DecodedText(bytes), text) << bytes;
  }
}

TEST(Directories, OfAModelsPath) {
  EXPECT_EQ(ModelDirectory("c:\\et\\models/x/y.mds"), "c:\\et\\");
  EXPECT_EQ(ModelDirectory("/et/models/x/y.mds"), "/et/models/x/");
  EXPECT_EQ(ModelDirectory("y.mds"), "y.mds");
  const std::pair<const char*, const char*> games[] = {
      {"/et/models/a/models/y.mds", "/et/"},
      {"/home/mymodels/y.mds", "/home/my"},
      {"c:\\models\\a/models/y.mds", "c:\\models\\a/"},
      {"c:\\et\\models\\y.mds", "c:\\et\\"},
      {"/et/Models/y.mds", ""}};
  for (const auto& [model, game] : games) {
    EXPECT_EQ(GameDirectory(model), game);
  }
  EXPECT_EQ(GameDirectoryOrOwn("c:\\et/x\\y.mdc"), "c:\\et/");
}

}  // namespace
