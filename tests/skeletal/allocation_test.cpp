// Every allocation of an import fails once, in turn: the host's assertion is told the list that
// found no memory where it has a name, any other failure ends the run with 0 or leaves something
// out; nothing is lost, and the next run is as good as the first.

#include <cstdlib>
#include <new>
#include <set>

#include "core/assertion.h"
#include "samples/skelmodel.h"
#include "support/moduletest.h"

namespace {

long live = 0;
long untilFailure = -1;  // allocations that still succeed; negative: all

void* AllocateOrNull(std::size_t size) noexcept {
  if (untilFailure >= 0 && untilFailure-- == 0) {
    return nullptr;
  }
  void* memory = std::malloc(size == 0 ? 1 : size);
  live += memory != nullptr ? 1 : 0;
  return memory;
}

void* Allocate(std::size_t size) {
  void* memory = AllocateOrNull(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void Release(void* memory) noexcept {
  live -= memory != nullptr ? 1 : 0;
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t& /*nothrow*/) noexcept {
  return AllocateOrNull(size);
}
void operator delete(void* memory) noexcept { Release(memory); }
void operator delete[](void* memory) noexcept { Release(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { Release(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { Release(memory); }

namespace {

class Allocation : public moduletest, public testing::WithParamInterface<const char*> {
 protected:
  Allocation() {
    const skelmodel model = SmallSkelModel();
    path = directory.Write("models/test.mds", model.WriteMds());
    skeleton = directory.Write("models/test.mdx", model.WriteMdx());
    if (std::string(GetParam()) == "mdm") {
      path = directory.Write("models/test.mdm", model.WriteMdm());
    }
    // Both lists grow: they have room for 16 at first.
    std::string sequences = "STARTANIMS\n";
    std::string rows;
    for (int i = 0; i < 17; ++i) {
      sequences += "s" + std::to_string(i) + " 1 2 0 0\n";
      rows += "s" + std::to_string(i) + ",\"models/" + std::to_string(i) + ".tga\"\n";
    }
    directory.Write("models/wolfanim.cfg", sequences);
    directory.Write("models/test.aninc", sequences);
    directory.Write("models/test.skin", rows);
    desk.onOpenFile = [this](const cfiledialog& /*dialog*/, std::string& chosen) {
      chosen = skeleton;
      return true;
    };
    desk.scripts[101] = [](desktop::scriptedwindow& window) {
      window.PickRows(1000, {0, 16});
      window.Ok();
    };
    desk.onProgress = nullptr;
    desk.onSleep = nullptr;
    desk.onCursor = nullptr;
  }

  std::string path;
  std::string skeleton;
};

INSTANTIATE_TEST_SUITE_P(Formats, Allocation, testing::Values("mds", "mdm"),
                         [](const auto& one) { return std::string(one.param); });

TEST_P(Allocation, EveryFailureOfAnImportIsToldAndLeavesNothing) {
  const bool mds = std::string(GetParam()) == "mds";
  // Names short enough for a string without memory of its own: one allocation each.
  std::set<std::string> told;
  const auto run = [&](long failure) {
    NewScene();
    untilFailure = failure;
    int result = 0;
    try {
      result = Import(path);
    } catch (const core::assertionfailure& failed) {
      EXPECT_STREQ(failed.file, mds ? "ImportMDS" : "ImportMDMMDX");
      told.insert(failed.expression);
    }
    const bool failed = failure >= 0 && untilFailure < 0;
    untilFailure = -1;
    EXPECT_TRUE(failed || result == 1);
    return failed;
  };
  run(-1);
  const std::size_t whole = scene->Nodes().size();
  NewScene();
  const long before = live;
  long failure = 0;
  while (run(failure)) {
    if (failure % 16 == 0) {
      run(-1);
      ASSERT_EQ(scene->Nodes().size(), whole) << "the run after failure " << failure;
    }
    NewScene();
    ASSERT_EQ(live - static_cast<long>(told.size()), before) << "after failure " << failure;
    ++failure;
  }
  EXPECT_GT(failure, 200);
  std::set<std::string> names{
      "animsequence", "seqs", "pBone[ul].bone", "mat", "materials", "mats", "m", "skin"};
  if (!mds) {
    names.insert("tagbone");
  }
  // The scene's own checks have no names of ours.
  for (const std::string& name : names) {
    EXPECT_TRUE(told.contains(name)) << name;
  }
}

}  // namespace
