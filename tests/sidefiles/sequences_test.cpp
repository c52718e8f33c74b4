#include "sidefiles/sequences.h"

#include <gtest/gtest.h>

#include "samples/tempdirectory.h"

namespace {

// A sequence in one word.
std::string Told(const animseq& s) {
  return std::string(s.name) + ":" + std::to_string(s.startframe) + ":" +
         std::to_string(s.numframes) + ":" + std::to_string(s.param3) + ":" +
         std::to_string(s.param4) + (s.skeletal ? ":skeletal" : "") + (s.selected ? ":on" : "");
}

class Sequences : public testing::Test {
 protected:
  std::vector<std::string> Wolfanim(const std::string& text) {
    directory.Write("wolfanim.cfg", text);
    canimsequences sequences("Test");
    EXPECT_TRUE(LoadWolfanim(directory.Path() + "/", sequences));
    return All(sequences);
  }
  static std::vector<std::string> All(const canimsequences& sequences) {
    std::vector<std::string> all;
    all.reserve(static_cast<std::size_t>(sequences.Count()));
    for (int i = 0; i < sequences.Count(); ++i) {
      all.push_back(Told(sequences[i]));
    }
    return all;
  }

  tempdirectory directory;
};

using texts = std::vector<std::string>;

TEST_F(Sequences, WolfanimKeywords) {
  EXPECT_EQ(Wolfanim("early 1 2 3 4\nVERSION 2\nSTARTANIMS\nidle 0 10 5 20\nxSKELETALx 1 2 3 4\n"
                     "// c 1 2 3 4\n  walk\t10 -20 0 15 rest\r\nENDANIMS\nlate 1 2 3 4\n"),
            (texts{"idle:0:10:5:20", "walk:10:-20:0:15:skeletal"}));
  EXPECT_EQ(Wolfanim("STARTANIMS\na 1 2 3 4\nVERSION 3\nb 1 2 3 4\n"), texts{"a:1:2:3:4"});
  EXPECT_EQ(Wolfanim("STARTANIMS\n VERSION 3\nVERSION x\nversion 3\na 1 2 3 4"),
            texts{"a:1:2:3:4"});
  EXPECT_EQ(Wolfanim("a 1 2 3 4\n"), texts{});
}

TEST_F(Sequences, LinesWithAnythingElseInANumbersPlaceAreSkipped) {
  EXPECT_EQ(Wolfanim("STARTANIMS\na 1 2 3\nb 1 2 3.5 4\nc one 2 3 4\nd 1 2 3 4x\ne 1-2+3 4\n"
                     "f 99999999999 2 -99999999999 4\n" +
                     std::string(200, 'n') + " 1 2 3 4\n"),
            (texts{"d:1:2:3:4", "e:1:-2:3:4", "f:2147483647:2:-2147483648:4",
                   std::string(127, 'n') + ":1:2:3:4"}));
}

TEST_F(Sequences, AnincStandsBesideTheMdx) {
  directory.Write("body.v2.aninc", std::string("STARTANIMS 1 2 3 4\nVERSION 9 1 2 3\nx 1 2 3\n"));
  canimsequences sequences("Test");
  EXPECT_TRUE(LoadAninc(directory.File("body.v2.mdx"), sequences));
  EXPECT_EQ(All(sequences), (texts{"STARTANIMS:1:2:3:4:skeletal", "VERSION:9:1:2:3:skeletal"}));
  EXPECT_FALSE(LoadAninc(directory.File("body.mdx"), sequences));
  EXPECT_FALSE(LoadAninc("nostop", sequences));
}

}  // namespace
