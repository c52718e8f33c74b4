#include "dialogtest.h"
#include "sidefiles/animseq.h"

namespace {

using MdcImportOptions = dialogtest;

TEST_F(MdcImportOptions, TheFrameIsHeldInsideTheFile) {
  int frame = -7;
  const std::pair<const char*, int> typed[] = {{"99", 9}, {"10", 9}, {"9", 9},          {"3", 3},
                                               {"", 0},   {"-4", 0}, {"99999999999", 9}};
  for (const auto& [text, expected] : typed) {
    desk.scripts[102] = [&, fieldText = text](userwindow& window) {
      EXPECT_EQ(window.Text(1008), "10");
      EXPECT_EQ(window.Text(1009), "0");
      EXPECT_FALSE(window.Type(1008, "3"));
      window.SetText(1009, fieldText);
      window.Ok();
    };
    EXPECT_EQ(ShowMDCImportOptions(10, &frame), 1);
    EXPECT_EQ(frame, expected) << text;
  }
  desk.scripts[102] = [](userwindow& window) {
    window.Type(1009, "3");
    window.Cancel();
  };
  EXPECT_EQ(ShowMDCImportOptions(10, &frame), 0);
  EXPECT_EQ(frame, 9);
  EXPECT_TRUE(messages.empty());
}

class ImportOptions : public dialogtest {
 protected:
  int Show(const script& user, const char* title = "") {
    desk.scripts[101] = user;
    return ShowImportOptions(title, &meshes, &materials, &bones, &animation, sequences,
                             numSequences, skinNames, numSkins, &skin);
  }
  void Expect(const std::vector<int>& values, const std::vector<bool>& selected) const {
    EXPECT_EQ((std::vector{meshes, materials, bones, animation, skin}), values);
    EXPECT_EQ((std::vector<bool>{list[0].selected, list[1].selected, list[2].selected}), selected);
  }

  animseq list[3] = {{false, "walk", 0, 10, 0, 0, true},
                     {false, "attack", 10, 10, 0, 0, true},
                     {false, "idle", 20, 10, 0, 0, true}};
  animseq* sequences[3] = {&list[0], &list[1], &list[2]};
  int numSequences = 3;
  char names[2][8] = {"a.skin", "b.skin"};
  char* skinNames[2] = {names[0], names[1]};
  int numSkins = 2;
  int meshes = -7, materials = -7, bones = -7, animation = -7, skin = -7;
};

TEST_F(ImportOptions, ListsAndBoxesComeBack) {
  Show([](userwindow& window) {
    window.Click(1005);
    window.Click(1006);
    window.PickRows(1000, {0, 2});
    window.PickRow(1007, 1);
    window.Click(1001);
    window.Ok();
  });
  Expect({0, 1, 1, 1, 1}, {true, false, true});
  Show([](userwindow& window) {
    EXPECT_TRUE(window.Checked(1001));  // nothing lasts
    window.Click(1005);
    window.Cancel();
  });
  Expect({0, 1, 1, 1, 1}, {false, false, false});
  Show([](userwindow& window) {
    window.Click(1005);
    window.Ok();
  });
  Expect({1, 1, 1, 1, 0}, {true, true, true});
}

TEST_F(ImportOptions, ABoxGreysWhatHangsOnItAndKeepsItsValue) {
  Show([](userwindow& window) {
    // What is clicked, and whether the animation's box and list can be used then.
    const struct {
      int box;
      bool animation;
      bool sequences;
    } clicks[] = {{1002, false, false}, {1002, true, true},  {1004, true, false},
                  {1002, false, false}, {1002, true, false}, {1004, true, true}};
    for (const auto& click : clicks) {
      window.Click(click.box);
      EXPECT_EQ(window.Enabled(1004), click.animation);
      EXPECT_EQ(window.Enabled(1000), click.sequences);
    }
    window.PickRow(1007, 1);
    window.Click(1003);
    EXPECT_FALSE(window.PickRow(1007, 0));
    window.Click(1002);
    window.Ok();
  });
  Expect({1, 0, 0, 1, 1}, {false, false, false});
}

TEST_F(ImportOptions, EmptyListsAreNoError) {
  numSequences = numSkins = 0;
  const auto user = [](userwindow& window) {
    EXPECT_EQ(window.Caption(), "MDS Importer(beta) - Options") << "without a title";
    window.Click(1005);
    window.Click(1006);
    window.Ok();
  };
  Show(user, nullptr);
  EXPECT_EQ(skin, -1);
}

}  // namespace
