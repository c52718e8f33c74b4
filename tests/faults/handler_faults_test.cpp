// Every allocation of a handler's run fails once, in turn: the host's assertion is told where a
// list has a name, otherwise the run has failed; nothing leaks, and the next run works.

#include <malloc.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "core/assertion.h"
#include "faults/failingnew.h"
#include "support/moduletest.h"
#include "support/scenebuild.h"

namespace {

using failingnew::shortage;

// More than the lists' first room.
constexpr int kMany = 18;

struct faultcase {
  const char* source;                // what the assertion is told as the source file
  const char* suffix;                // of the file
  std::set<std::string> assertions;  // all that must come up

  bool Imports() const { return source[0] == 'I'; }
  friend void PrintTo(const faultcase& one, std::ostream* out) { *out << one.source; }
};

class HandlerFaults : public moduletest, public testing::WithParamInterface<faultcase> {
 protected:
  HandlerFaults() {
#if defined(__GLIBC__)
    // Thousands of scenes come and go; asking the system for their memory each time costs more
    // than the runs.
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
#endif
    // Listeners would allocate where a run unwinds.
    desk.onMessage = nullptr;
    desk.onProgress = nullptr;
    desk.onCursor = nullptr;
    desk.onSleep = nullptr;
    // Some but not all sequences.
    desk.scripts[101] = [](desktop::scriptedwindow& window) {
      window.SelectRows(1000, 1, 2, true);
      window.Ok();
    };
    desk.onOpenFile = desk.onSaveFile = [this](const cfiledialog&, std::string& path) {
      path = skeleton;
      return true;
    };
  }

  // Skins and meshes with materials on animated bones with tags.
  void BuildScene() {
    NewScene();
    scene->animEnd = 3;
    cbone* const root =
        AddBone("root", nullptr, {KeyAt(0, {0, 0, 0}), KeyAt(3, {1, 2, 3}, {10, 20, 30})});
    cbone* const arm = AddBone("a bone whose name is long", root, {KeyAt(0, {0, 0, 5})});
    AddBone("tag_hand", arm, {KeyAt(0, {0, 1, 0})});
    for (int i = 0; i < kMany; ++i) {
      const std::string name = "surface" + std::to_string(i);
      cskin* const skin =
          AddSkin(name, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {root, arm, arm}, {{0, 1, 2}});
      skin->SetMaterial(AddMaterial(name, ("game/models/" + name + ".tga").c_str()));
    }
    AddTriangle("mesh");
  }

  // A model of the scene above with all that stands beside one.
  void WriteInputs() {
    BuildScene();
    ASSERT_EQ(Export(file), 1);
    std::string skin;
    std::string aninc;
    for (int i = 0; i < kMany; ++i) {
      const std::string name = "surface" + std::to_string(i);
      skin += name + ",\"models/" + name + ".tga\"\n";
      aninc += "sequence" + std::to_string(i) + " 0 2 0 20\n";
    }
    directory.Write("game/models/a body with a long name.skin", skin);
    directory.Write("game/models/head.skin", skin);
    directory.Write("game/models/model.aninc", aninc);
    directory.Write("game/models/wolfanim.cfg", "VERSION 2\nSTARTANIMS\n" + aninc + "ENDANIMS\n");
  }

  // The run in a scene of its own. An unused material is there to be taken over.
  int Run() { return GetParam().Imports() ? Import(file) : Export(file); }
  void Prepare() {
    if (GetParam().Imports()) {
      NewScene();
      AddMaterial("unused");
    } else {
      BuildScene();
    }
  }
  // What a run without failures leaves behind.
  std::vector<std::size_t> Outcome() {
    Prepare();
    EXPECT_EQ(Run(), 1);
    return {scene->Nodes().size(), scene->Materials().size(), Notes().size(),
            GetParam().Imports() ? 0 : ReadBytes(file).size(), ReadBytes(skeleton).size()};
  }

  std::string skeleton = directory.File("game/models/model.mdx");
  std::string file = directory.File(std::string("game/models/model.") + GetParam().suffix);
};

TEST_P(HandlerFaults, EndCleanly) {
  WriteInputs();
  const std::vector<std::size_t> good = Outcome();
  const bytes written = ReadBytes(file);
  std::set<std::string> assertions;
  long failures = 0;
  for (const shortage duration : {shortage::Once, shortage::FromThenOn}) {
    // Once is the thorough pass.
    const long step = duration == shortage::Once ? 1 : 7;
    bool failed = true;
    for (long n = 0; failed; n += step) {
      SCOPED_TRACE(n);
      scene.reset();
      const long before = failingnew::Live();
      Prepare();
      int result = 0;
      char told[256] = "";
      failingnew::FailAfter(n, duration);
      try {
        result = Run();
      } catch (const core::assertionfailure& failure) {
        EXPECT_STREQ(failure.file, GetParam().source);
        EXPECT_GT(failure.line, 0);
        std::memcpy(told, failure.expression, sizeof told);
      }
      failed = failingnew::Stop();
      if (!failed) {
        EXPECT_EQ(result, 1);
      } else if (result == 1 && !GetParam().Imports()) {
        EXPECT_EQ(ReadBytes(file), written);  // whoever says it is done has done it
      }
      EXPECT_NE(result, -1);
      EXPECT_EQ(Node(""), nullptr) << "a mesh that found no room is left out";
      EXPECT_EQ(desk.OpenWindows(), 0U);
      scene.reset();
      ASSERT_EQ(failingnew::Live(), before);
      failures += failed ? 1 : 0;
      if (told[0] != '\0') {
        assertions.insert(told);
      }
    }
    EXPECT_EQ(Outcome(), good);
  }
  EXPECT_GT(failures, 100);
  EXPECT_EQ(assertions, GetParam().assertions);
}

using lists = std::set<std::string>;

const lists kMdsImport{"pBone[ul].bone", "m",    "skin",         "mat",
                       "materials",      "mats", "animsequence", "seqs"};
const lists kMdmImport{"pBone[ul].bone", "m",    "skin",   "mat", "materials", "mats",
                       "animsequence",   "seqs", "tagbone"};
const lists kSkeletonExport{"Frames", "Frames[i].bones", "Bones"};
const lists kModelExport{"Frames", "Frames[i].bones", "Bones", "Surfaces", "surfs"};
const lists kMdcExport{"BorderFrames", "Tags", "Tags[ntags].lpTagFrames", "Surfaces", "surfs"};
INSTANTIATE_TEST_SUITE_P(
    All, HandlerFaults,
    testing::Values(faultcase{"ImportMDC", "mdc", {"bone", "m", "mat", "materials", "mats"}},
                    faultcase{"ExportMDC", "mdc", kMdcExport},
                    faultcase{"ImportMDS", "mds", kMdsImport},
                    faultcase{"ExportMDS", "mds", kModelExport},
                    faultcase{"ImportMDMMDX", "mdm", kMdmImport},
                    faultcase{"ExportMDMMDX", "mdm", kModelExport},
                    faultcase{"ExportMDMMDX", "mdx", kSkeletonExport}),
    [](const auto& run) { return std::string(run.param.source) + "_" + run.param.suffix; });

// The largest range that the dialog takes: told as a list without memory, and nothing overflows.
TEST_F(moduletest, ARangeThatNoMemoryHolds) {
  AddTriangle("t");
  AddBone("b", nullptr, {});
  const auto longest = [](desktop::scriptedwindow& window) {
    for (const int field : {1010, 1020}) {
      window.Type(field, "0");
      window.Type(field + 1, "2147483647");
    }
    window.Ok();
  };
  desk.scripts[103] = desk.scripts[105] = longest;
  for (const auto& [suffix, list] :
       {std::pair{"mdc", "BorderFrames"}, {"mds", "Frames"}, {"mdx", "Frames"}}) {
    const std::string path = directory.File(std::string("long.") + suffix);
    failingnew::FailAbove(std::size_t{1} << 30);
    try {
      ADD_FAILURE() << Export(path);
    } catch (const core::assertionfailure& failure) {
      EXPECT_STREQ(failure.expression, list);
    }
    EXPECT_TRUE(failingnew::Stop());
    EXPECT_EQ(desk.OpenWindows(), 0U);
  }
}

}  // namespace
