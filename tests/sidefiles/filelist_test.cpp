#include "sidefiles/filelist.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "samples/tempdirectory.h"
#include "sidefiles/cfgline.h"
#include "sidefiles/directories.h"

namespace {

std::vector<std::string> NamesOf(cfilelist& files) {
  return {files.Names(), files.Names() + files.Count()};
}

TEST(FileList, SortedByBytesCutAtTheFieldAndWithoutDirectories) {
  const tempdirectory directory;
  const std::string longest(90, 'x');
  for (const std::string name : {"b.skin", "a.SKIN", "Z.skin", "notes.txt"}) {
    directory.Write(name, std::string());
  }
  directory.Write(longest + ".skin", std::string());
  std::filesystem::create_directory(directory.File("c.skin"));
  std::filesystem::create_directory(directory.File(".hidden.skin"));

  cfilelist files;
  const std::string pattern = directory.File("*.skin");
  ASSERT_EQ(ListFiles(kListPlainFiles, pattern.c_str(), files), kListed);
  EXPECT_EQ(NamesOf(files),
            (std::vector<std::string>{"Z.skin", "a.SKIN", "b.skin", longest.substr(0, 63)}));
  files.InsertSorted("\xC3\xA4");
  files.InsertSorted("~");
  EXPECT_STREQ(files.Names()[5], "\xC3\xA4");
  EXPECT_EQ(ListFiles(kListDirectories, pattern.c_str(), files), kListed);
  EXPECT_EQ(NamesOf(files), std::vector<std::string>{"c.skin"});
  // What finds nothing leaves the list alone; what accepts nothing empties it.
  EXPECT_EQ(ListFiles(kListPlainFiles, directory.File("*.none").c_str(), files), kNothingFound);
  EXPECT_EQ(ListFiles(kListPlainFiles, directory.File("a.SKIN").c_str(), files), kNoWildcard);
  EXPECT_EQ(files.Count(), 1);
  EXPECT_EQ(ListFiles(2, pattern.c_str(), files), kNoneAccepted);
  EXPECT_EQ(files.Count(), 0);
}

TEST(CfgLines, CommentsShortLinesAndLongLines) {
  const tempdirectory directory;
  const std::string path = directory.Write(
      "lines.cfg", "\n// comment\nab\n //not one\n" + std::string(600, 'y') + "\nno end");
  std::vector<std::string> lines;
  const auto take = [&](const char* line) {
    lines.emplace_back(line);
    return true;
  };
  ASSERT_TRUE(ReadCfgFile(path.c_str(), take));
  EXPECT_EQ(lines, (std::vector<std::string>{"ab\n", " //not one\n", std::string(511, 'y'),
                                             std::string(89, 'y') + "\n", "no end"}));
  // A comment or a single character at the end yields nothing; what cannot be read as text ends
  // without a line.
  lines.clear();
  ASSERT_TRUE(ReadCfgFile(directory.Write("end.cfg", "ab\nx\n//c\nx").c_str(), take));
  EXPECT_EQ(lines, (std::vector<std::string>{"ab\n", "x\n", ""}));
  EXPECT_FALSE(ReadCfgFile(directory.File("none.cfg").c_str(), take));
  lines.clear();
  ReadCfgFile(directory.Path().c_str(), take);
  EXPECT_LE(lines.size(), 1U);
}

TEST(Directories, OfAModelsPath) {
  EXPECT_EQ(ModelDirectory("c:\\et\\models/x/y.mds"), "c:\\et\\");
  EXPECT_EQ(ModelDirectory("/et/models/x/y.mds"), "/et/models/x/");
  EXPECT_EQ(ModelDirectory("y.mds"), "y.mds");
  EXPECT_EQ(GameDirectory("/et/models/a/models/y.mds"), "/et/");
  EXPECT_EQ(GameDirectory("/home/mymodels/y.mds"), "/home/my");
  EXPECT_EQ(GameDirectory("c:\\models\\a/models/y.mds"), "c:\\models\\a/");
  EXPECT_EQ(GameDirectory("c:\\et\\models\\y.mds"), "c:\\et\\");
  EXPECT_EQ(GameDirectory("/et/Models/y.mds"), "");
}

}  // namespace
