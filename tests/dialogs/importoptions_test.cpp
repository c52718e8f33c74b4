#include <cstring>

#include "dialogtest.h"
#include "sidefiles/animseq.h"

namespace {

class MdcImportOptions : public dialogtest {};

TEST_F(MdcImportOptions, TheFrameIsHeldInsideTheFile) {
  const std::pair<const char*, int> typed[] = {{"99", 9}, {"10", 9}, {"9", 9},
                                               {"3", 3},  {"", 0},   {"99999999999", 9}};
  for (const auto& [text, expected] : typed) {
    SCOPED_TRACE(text);
    desk.scripts[102] = [&, typedText = text](userwindow& window) {
      EXPECT_EQ(window.Text(1008), "10");
      EXPECT_EQ(window.Text(1009), "0");
      EXPECT_FALSE(window.Type(1008, "3"));
      window.Type(1009, typedText);
      window.Ok();
    };
    int frame = -7;
    EXPECT_EQ(ShowMDCImportOptions(10, &frame), 1);
    EXPECT_EQ(frame, expected);
  }
  desk.scripts[102] = [](userwindow& window) {
    window.SetText(1009, "-4");
    window.Ok();
  };
  int frame = -7;
  ShowMDCImportOptions(10, &frame);
  EXPECT_EQ(frame, 0);
  desk.scripts[102] = [](userwindow& window) { window.Cancel(); };
  frame = -7;
  EXPECT_EQ(ShowMDCImportOptions(10, &frame), 0);
  EXPECT_EQ(frame, -7);
  EXPECT_TRUE(messages.empty());
}

class ImportOptions : public dialogtest {
 protected:
  ImportOptions() {
    int index = 0;
    for (const char* name : {"walk", "attack", "idle"}) {
      std::strcpy(list[index].name, name);
      list[index].startframe = 10 * index;
      list[index].numframes = 10;
      list[index].selected = true;
      ++index;
    }
  }

  int Show(const script& user, const char* title = "") {
    desk.scripts[101] = user;
    return ShowImportOptions(title, &meshes, &materials, &bones, &animation, sequences,
                             numSequences, skinNames, numSkins, &skin);
  }
  std::vector<bool> Selected() const {
    return {list[0].selected, list[1].selected, list[2].selected};
  }

  animseq list[3];
  animseq* sequences[3] = {&list[0], &list[1], &list[2]};
  int numSequences = 3;
  char first[8] = "a.skin";
  char second[8] = "b.skin";
  char* skinNames[2] = {first, second};
  int numSkins = 2;
  int meshes = -7;
  int materials = -7;
  int bones = -7;
  int animation = -7;
  int skin = -7;
};

TEST_F(ImportOptions, OpensWithEverythingCheckedAndNoSequenceSelected) {
  Show([](userwindow& window) {
    EXPECT_EQ(window.Caption(), "");
    for (const int box : {1001, 1002, 1003, 1004}) {
      EXPECT_TRUE(window.Checked(box)) << box;
    }
    EXPECT_EQ(window.Rows(1000), (std::vector<std::string>{"walk    0    10", "attack    10    10",
                                                           "idle    20    10"}));
    EXPECT_EQ(window.Rows(1007), (std::vector<std::string>{"a.skin", "b.skin"}));
    window.Ok();
  });
  EXPECT_EQ(std::vector<int>({meshes, materials, bones, animation, skin}),
            std::vector<int>({1, 1, 1, 1, 0}));
  EXPECT_EQ(Selected(), std::vector<bool>({false, false, false}));
  Show([](userwindow& window) { EXPECT_EQ(window.Caption(), "MDS Importer(beta) - Options"); },
       nullptr);
  Show([](userwindow& window) { EXPECT_EQ(window.Caption(), "other"); }, "other");
}

TEST_F(ImportOptions, ListsAndBoxesComeBack) {
  Show([](userwindow& window) {
    window.Click(1005);
    window.Click(1006);
    window.PickRows(1000, {0, 2});
    window.PickRow(1007, 1);
    window.Click(1001);
    window.Ok();
  });
  EXPECT_EQ(std::vector<int>({meshes, materials, bones, animation, skin}),
            std::vector<int>({0, 1, 1, 1, 1}));
  EXPECT_EQ(Selected(), std::vector<bool>({true, false, true}));
  Show([](userwindow& window) {
    EXPECT_TRUE(window.Checked(1001));  // nothing lasts
    window.Click(1005);
    window.Ok();
  });
  EXPECT_EQ(Selected(), std::vector<bool>({true, true, true}));
  meshes = skin = -7;
  EXPECT_EQ(Show([](userwindow& window) {
              window.Click(1001);
              window.Cancel();
            }),
            0);
  EXPECT_EQ(meshes, -7);
  EXPECT_EQ(skin, -7);
}

TEST_F(ImportOptions, ABoxGreysWhatHangsOnItAndKeepsItsValue) {
  Show([](userwindow& window) {
    window.Click(1002);
    EXPECT_FALSE(window.Enabled(1004));
    EXPECT_FALSE(window.Enabled(1000));
    window.Click(1002);
    EXPECT_TRUE(window.Enabled(1004));
    EXPECT_TRUE(window.Enabled(1000));
    window.Click(1004);
    EXPECT_FALSE(window.Enabled(1000));
    window.Click(1002);
    window.Click(1002);
    EXPECT_TRUE(window.Enabled(1004));
    EXPECT_FALSE(window.Enabled(1000));
    window.Click(1004);
    EXPECT_TRUE(window.Enabled(1000));
    window.PickRow(1007, 1);
    window.Click(1003);
    EXPECT_FALSE(window.Enabled(1007));
    EXPECT_FALSE(window.PickRow(1007, 0));
    window.Click(1002);
    window.Ok();
  });
  EXPECT_EQ(std::vector<int>({meshes, materials, bones, animation, skin}),
            std::vector<int>({1, 0, 0, 1, 1}));
}

TEST_F(ImportOptions, EmptyListsAreNoError) {
  numSequences = numSkins = 0;
  Show([](userwindow& window) {
    window.Click(1005);
    window.Click(1006);
    window.Ok();
  });
  EXPECT_EQ(skin, -1);
  EXPECT_EQ(animation, 1);
}

}  // namespace
