#include "dialogtest.h"

namespace {

// What one of the two export dialogs is: its controls and how it is asked for.
struct exportdialog {
  int id, start, end, origin, select, choice;
  const char* caption;
  int (*show)(int* start, int* end, int* choice, char* origin, int enable);

  friend void PrintTo(const exportdialog& one, std::ostream* out) { *out << one.id; }
};

constexpr exportdialog kMdcMds{
    103, 1010, 1011, 1015, 1016, 1012, "Export MDC/MDS", ShowExportOptions};

int ShowMdx(int* start, int* end, int* choice, char* origin, int enable) {
  return ShowMDXExportOptions(start, end, origin, choice, enable);
}

constexpr exportdialog kMdmMdx{105, 1020, 1021, 1018, 1019, 1023, "Export MDM/MDX", ShowMdx};

class ExportOptions : public dialogtest, public testing::WithParamInterface<exportdialog> {
 protected:
  int Show(const script& user, int enable = 1) {
    desk.scripts[dialog.id] = user;
    return dialog.show(&start, &end, &choice, origin, enable);
  }
  // The state of the choice is the module's for life, so a test brings it to where it needs it.
  void SetChoice(bool wanted) {
    Show([&](userwindow& window) {
      if (window.Checked(dialog.choice) != wanted) {
        window.Click(dialog.choice);
      }
      window.Ok();
    });
  }

  const exportdialog& dialog = GetParam();
  int start = 4;
  int end = 9;
  int choice = -7;
  char origin[128] = "before";
};

TEST_P(ExportOptions, OpensWithTheRangeAndHandsBackWhatTheFieldsSay) {
  Show([&](userwindow& window) {
    EXPECT_EQ(window.Text(dialog.start) + window.Text(dialog.end), "49");
    EXPECT_EQ(window.Text(dialog.origin), "");
    window.Type(dialog.start, "");
    window.Type(dialog.end, "-12x");
    window.Type(dialog.origin, "pelvis");
    window.Ok();
  });
  EXPECT_EQ(std::to_string(start) + " " + std::to_string(end) + " " + origin, "0 12 pelvis");
  // What no key can type may still stand in a field.
  Show([&](userwindow& window) {
    window.SetText(dialog.start, "-5");
    window.SetText(dialog.end, "99999999999");
    window.Type(dialog.origin, std::string(300, 'n'));
    window.Ok();
  });
  EXPECT_TRUE(start == 0 && end == 2147483647);
  EXPECT_EQ(std::string(origin), std::string(127, 'n'));
}

TEST_P(ExportOptions, AStartAboveTheEndIsToldAndTheDialogStays) {
  const int result = Show([&](userwindow& window) {
    window.Type(dialog.start, "5");
    window.Type(dialog.end, "3");
    window.Ok();
    EXPECT_FALSE(window.Ended());
    window.Type(dialog.end, "5");
    window.Ok();
  });
  EXPECT_EQ(messages,
            std::vector<std::string>{std::string(dialog.caption) +
                                     ": Start Frame must not be greater than End Frame! 48"});
  EXPECT_TRUE(result == 1 && start == 5 && end == 5);
}

TEST_P(ExportOptions, ThePickerFillsTheFieldAndTheFieldDecides) {
  AddTriangle("crate");
  cbone* bone = AddBone("hip", nullptr, {});
  cnode* chosen = bone;
  core::SetPicker([&](const std::vector<cnode*>& candidates, const char* text, const char* button) {
    EXPECT_EQ(candidates.size(), 2U);
    EXPECT_STREQ(button, "Select");
    EXPECT_STREQ(text, "Select Origin Object");
    return chosen;
  });
  const auto select = [&](userwindow& window) {
    window.Click(dialog.select);
    EXPECT_TRUE(window.HasFocus());
    EXPECT_EQ(window.Text(dialog.origin), "hip");
  };
  Show([&](userwindow& window) {
    select(window);
    chosen = nullptr;
    select(window);  // nothing picked: the field stays
    chosen = bone;
    window.Ok();
  });
  EXPECT_STREQ(origin, "hip");
  for (const bool cancelled : {false, true}) {
    Show([&](userwindow& window) {
      select(window);
      window.Type(dialog.origin, cancelled ? "hip" : "");
      cancelled ? window.Cancel() : window.Ok();
    });
    EXPECT_STREQ(origin, "");
  }
}

TEST_P(ExportOptions, TheChoiceLastsAfterOkAlone) {
  for (const bool wanted : {false, true}) {
    SetChoice(wanted);
    EXPECT_EQ(choice, wanted ? 1 : 0);
    choice = -7;
    Show([&](userwindow& window) {
      EXPECT_EQ(window.Checked(dialog.choice), wanted);
      window.Click(dialog.choice);
      window.Cancel();
    });
    EXPECT_EQ(choice, -7);
    // Closed otherwise: as cancelled.
    const auto look = [&](userwindow& window) { EXPECT_EQ(window.Checked(dialog.choice), wanted); };
    EXPECT_EQ(Show(look), 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Both, ExportOptions, testing::Values(kMdcMds, kMdmMdx),
                         [](const auto& dialog) { return std::to_string(dialog.param.id); });

class MdsExportOptions : public ExportOptions {};

TEST_P(MdsExportOptions, TheModelsBoxIsGreyUncheckedAndKeepsItsState) {
  const auto user = [](userwindow& window) {
    EXPECT_FALSE(window.Enabled(1012) || window.Checked(1012) || window.Click(1012));
    window.Ok();
  };
  for (const bool kept : {true, false}) {
    SetChoice(kept);
    Show(user, 0);
    EXPECT_EQ(choice, kept ? 1 : 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Mds, MdsExportOptions, testing::Values(kMdcMds));

class MdxExportOptions : public ExportOptions {
 protected:
  static void ExpectFields(const userwindow& window, bool enabled) {
    for (const int id : {1018, 1019, 1020, 1021}) {
      EXPECT_EQ(window.Enabled(id), enabled) << id;
    }
  }
};

TEST_P(MdxExportOptions, TheBoxGreysTheFieldsWhichAreReadAllTheSame) {
  SetChoice(true);
  Show([](userwindow& window) {
    window.Type(1020, "6");
    for (const bool enabled : {false, true, false}) {
      window.Click(1023);
      ExpectFields(window, enabled);
    }
    window.Ok();
  });
  EXPECT_TRUE(start == 6 && choice == 0);
  Show([](userwindow& window) { ExpectFields(window, false); });
  // For an mdx file alone the box is checked and grey, and OK leaves it checked for good.
  const auto user = [](userwindow& window) {
    EXPECT_TRUE(window.Checked(1023) && !window.Enabled(1023));
    ExpectFields(window, true);
    window.Ok();
  };
  Show(user, 0);
  EXPECT_EQ(choice, 1);
  Show([](userwindow& window) { EXPECT_TRUE(window.Checked(1023)); });
}

INSTANTIATE_TEST_SUITE_P(Mdx, MdxExportOptions, testing::Values(kMdmMdx));

}  // namespace
