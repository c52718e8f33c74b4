// The exporters of mdm and mdx through the loaded module, and what runs of all three show.

#include <filesystem>
#include <tuple>

#include "skeletal/exporttest.h"

namespace {

using MdmExport = exporttest;

TEST_F(MdmExport, TagsAndTheirChains) {
  cbone* top = AddStill("top", nullptr, {1, 0, 0});
  cbone* flagged = AddStill("flagged", top, {});
  core::SetFlags(*flagged, kNodeFlagNoBone);
  cbone* hand = AddBone("mytag_hand", top, {KeyAt(0, {0, 5, 0}, {0, 90, 0}, {2, 2, 2})});
  cbone* held = AddStill("tag_weapon", hand, {2, 0, 0}, {0, 0, 30});
  AddBone("TAG_Under", held, {KeyAt(0, {0, 3, 0}, {20, 0, 0}, {3, 3, 3})});
  AddStill("tag_alone", nullptr, {7, 8, 9}, {0, 40, 0});
  AddStill("below", flagged, {});
  AddSkin("body", {{0, 0, 0}, {1, 0, 0}}, {held, hand}, {});
  const auto skeleton = Mdx();
  const auto model = Mdm();
  ASSERT_EQ(skeleton->numBones, 4);
  EXPECT_EQ(Text(skeleton->bones[2].name), "mytag_hand");
  EXPECT_EQ(skeleton->bones[3].parent, -1) << "a flagged bone counts, and is no parent";
  cvertexwalk vertex = model->Vertices(model->surfaces[0]);
  EXPECT_EQ(vertex.Weights()[0].boneIndex, -1);
  vertex.Next();
  EXPECT_EQ(vertex.Weights()[0].boneIndex, 2);
  EXPECT_EQ(BoneReferences(*model->surfaces[0].surface), (numbers{0, 2}));
  using row = std::tuple<std::string, int, numbers>;  // bone and chain
  std::vector<row> rows;
  for (const mdmTag* tag : model->tags) {
    rows.emplace_back(Text(tag->name), tag->boneIndex, NumbersAt(tag, 128, tag->numBoneReferences));
  }
  EXPECT_EQ(rows, (std::vector<row>{
                      {"tag_weapon", 2, {0, 2}}, {"TAG_Under", -1, {}}, {"tag_alone", -1, {}}}));
  // Seen from the parent in the scene.
  const mdmTag& under = *model->tags[1];
  ExpectPoint({under.offset[0], under.offset[1], under.offset[2]}, {0, 3, 0}, 1e-5F);
  ExpectPoint({under.axis[0][0], under.axis[0][1], under.axis[0][2]}, {0.939693F, 0, -0.34202F},
              1e-5F);
}

TEST_F(MdmExport, AsksForTheSkeletonsFile) {
  AddStill("bone", nullptr, {});
  std::string answer = "no_dot";
  bool asked = false;
  bool focused = false;
  desk.onSaveFile = [&](const cfiledialog& dialog, std::string& path) {
    asked = true;
    EXPECT_EQ(Text(dialog), "Save Animation File(MDX), RTCW-ET MDX Files (*.mdx), *.mdx, mdx, " +
                                std::to_string(0x1806));
    path = answer;
    return true;
  };
  desk.onProgress = [&](const desktop::scriptedwindow& window) { focused = window.HasFocus(); };
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(directory.Path());
  EXPECT_EQ(Export("out.mdm"), 1);
  answer = "./walk";  // has a full stop already
  EXPECT_EQ(Export("out.mdm"), 1);
  EXPECT_TRUE(std::filesystem::exists("walk"));
  std::filesystem::current_path(before);
  EXPECT_TRUE(focused) << "given back to the window for the frames";
  cmdxfile skeleton;
  ASSERT_TRUE(skeleton.Load(directory.File("no_dot.mdx").c_str()));
  EXPECT_EQ(Text(skeleton.header->name), "no_dot.mdx");

  answer = "";
  EXPECT_EQ(Export(directory.File("out.mdm")), 1) << "an empty path counts as cancelled";
  answer = directory.Path() + "/none/out.mdx";
  EXPECT_EQ(Export(directory.File("out.mdm")), 0);
  const shownmessage failed{"Failed To Export MDX file!", "Export MDM", 48};
  EXPECT_EQ(log.messages, std::vector{failed});
  asked = false;
  EXPECT_EQ(Export(answer + ".mdm"), 0);
  desk.scripts[105] = [](desktop::scriptedwindow& window) {
    window.Click(1023);
    window.Ok();
  };
  EXPECT_EQ(Export(directory.File("out.mdm")), 1);
  EXPECT_FALSE(asked);
}

// Of all four exporters.
struct exporter {
  const char* suffix;
  const char* caption;
  const char* emptyCaption;
  int dialog, choice;  // and its box
  bool open;           // the box is the user's to change
  bool told;           // when its file cannot be opened
  int fullDisk;        // result when nothing can be written

  friend void PrintTo(const exporter& one, std::ostream* out) { *out << one.suffix; }
};

class ExportRun : public exporttest, public testing::WithParamInterface<exporter> {};

TEST_P(ExportRun, ResultsMessagesAndOrder) {
  const exporter& kind = GetParam();
  const std::string path = directory.File(std::string("out.") + kind.suffix);
  EXPECT_EQ(Export(path), -1);
  const shownmessage empty{"No objects in scene!", kind.emptyCaption, 48};
  EXPECT_EQ(log.messages, std::vector{empty});
  AddStill("bone", nullptr, {});
  EXPECT_EQ(Export(path), 1);
  EXPECT_EQ(log.caption, kind.caption);
  const std::vector<std::string> order{"wait cursor", "window", "sleep 500", "window closed",
                                       "old cursor"};
  EXPECT_EQ(log.events, order);
  const bytes good = ReadBytes(path);
  desk.scripts[kind.dialog] = [&](desktop::scriptedwindow& window) {
    EXPECT_EQ(window.Enabled(kind.choice), kind.open);
    window.Cancel();
  };
  EXPECT_EQ(Export(path), -1);
  EXPECT_TRUE(log.events.empty());
  EXPECT_EQ(ReadBytes(path), good) << "a cancelled run leaves the old file";
  desk.scripts.clear();
  EXPECT_EQ(Export(directory.Path() + "/none/out." + kind.suffix), 0);
  const std::vector<shownmessage> failed(kind.told ? 1 : 0,
                                         {"Failed To Export MDM file!", "Export MDM", 48});
  EXPECT_EQ(log.messages, failed);
  EXPECT_EQ(std::erase(log.events, "wait cursor"), kind.dialog == 105 ? 1U : 0U)
      << "mdc and mds open the file before the window";
#if defined(__linux__)
  const std::string full = directory.File(std::string("full.") + kind.suffix);
  std::filesystem::create_symlink("/dev/full", full);
  EXPECT_EQ(Export(full), kind.fullDisk);
  EXPECT_EQ(log.messages.size(), kind.fullDisk == 1 ? 0U : failed.size());
#endif
}

INSTANTIATE_TEST_SUITE_P(All, ExportRun,
                         testing::Values(exporter{"mdc", "Exporting MDC - Please wait...",
                                                  "Export MDC", 103, 1012, true, false, 1},
                                         exporter{"mds", "Exporting MDS - Please wait...",
                                                  "Export MDS", 103, 1012, false, false, 1},
                                         exporter{"mdm", "Exporting MDM - Please wait...",
                                                  "Export MDM/MDX", 105, 1023, true, true, 0},
                                         exporter{"mdx", "Exporting MDX - Please wait...",
                                                  "Export MDX", 105, 1023, false, false, 0}),
                         [](const auto& one) { return std::string(one.param.suffix); });

}  // namespace
