// Readers over damaged files, and what they say of them.

#include <gtest/gtest.h>

#include "hostile/damage.h"
#include "hostile/gltfreader.h"
#include "hostile/readers.h"
#include "samples/gltfmodel.h"
#include "samples/mdcmodel.h"
#include "samples/skelmodel.h"

namespace {

using reader = bool (*)(const unsigned char*, std::size_t);
// From the first byte of a 32-bit field to the end of another.
using stretch = std::pair<std::size_t, std::size_t>;

std::size_t Offset(const bytes& file, std::size_t field) {
  return static_cast<std::size_t>(bytereader(file).I32(field));
}

// A file cut off at every byte, with each field set to each bad number, and mutated. `unread`
// bytes at the end may be missing.
void ExpectSafe(const bytes& good, std::size_t unread, const std::vector<stretch>& fields,
                int mutations, reader read) {
  EXPECT_TRUE(ReadBlock(good, read));
  for (std::size_t size = 0; size < good.size(); ++size) {
    const bytes cut(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(ReadBlock(cut, read), size >= good.size() - unread) << "cut at " << size;
  }
  for (const auto& [first, end] : fields) {
    for (std::size_t i = 3 * first / 4; i < 3 * end / 4; ++i) {
      bytes bad = good;
      SetNumber(bad, i / 3 * 4, kBadNumbers[i % 3]);
      ReadBlock(bad, read);
    }
  }
  std::mt19937 random(1);
  int accepted = 0;
  for (int i = 0; i < mutations; ++i) {
    accepted += ReadBlock(Mutate(good, random), read) ? 1 : 0;
  }
  // Both kinds come up, or the damage is too small or too large to tell anything.
  EXPECT_GT(accepted, mutations / 20);
  EXPECT_LT(accepted, mutations * 9 / 10);
}

constexpr int kMutations = 100000;

TEST(Hostile, Mdc) {
  const bytes good = SmallMdcModel().Write();
  const std::size_t surface = Offset(good, 104);
  ExpectSafe(good, 0, {{0, 8}, {72, 112}, {surface + 68, surface + 124}}, kMutations, ReadMdc);
  bytes last = good;
  SetNumber(last, surface + Offset(good, surface + 120) + 120, 0);
  EXPECT_TRUE(ReadBlock(last, ReadMdc)) << "nothing follows the last surface";
}

TEST(Hostile, Mds) {
  const bytes good = SmallSkelModel().WriteMds();
  const std::size_t bones = Offset(good, 92);
  const std::size_t surface = Offset(good, 104);
  ExpectSafe(good, 0, {{0, 8}, {72, 120}, {bones + 64, bones + 80}, {surface + 132, surface + 240}},
             kMutations, ReadMds);
}

TEST(Hostile, Mdm) {
  const bytes good = SmallSkelModel().WriteMdm();
  const std::size_t tag = Offset(good, 92);
  ExpectSafe(good, 4, {{0, 8}, {72, 100}, {232, 340}, {tag + 64, tag + 132}}, kMutations, ReadMdm);
  bytes last = good;
  SetNumber(last, 100 + Offset(good, 272) + 172, 0);
  SetNumber(last, good.size() - 8, 0);
  EXPECT_TRUE(ReadBlock(last, ReadMdm)) << "nothing follows the last surface and the last tag";
  const bytes pair = SmallSkelPair();
  std::mt19937 random(1);
  for (int i = 0; i < kMutations / 5; ++i) {
    ReadBlock(Mutate(pair, random), ReadMdm);
  }
}

TEST(Hostile, Mdx) {
  const bytes good = SmallSkelModel().WriteMdx();
  const std::size_t bones = Offset(good, 84);
  ExpectSafe(good, 0, {{0, 8}, {72, 200}, {bones + 64, bones + 80}}, kMutations, ReadMdx);
}

TEST(Hostile, BinaryGltf) {
  // The header and the first chunk's.
  ExpectSafe(SmallGltf().Binary(), 0, {{0, 20}}, kMutations / 4, ReadGltf);
}

TEST(Hostile, GltfText) {
  const std::string text = SmallGltf().Text();
  ExpectSafe(bytes(text.begin(), text.end()), 0, {}, kMutations / 4, ReadGltf);
}

TEST(SkeletalReaders, FaultsNameTheirPlace) {
  const bytes good = SmallSkelModel().WriteMds();
  const std::size_t bones = Offset(good, 92);
  const std::size_t first = Offset(good, 104);
  const std::size_t second = first + Offset(good, first + 172);
  const struct {
    std::size_t field;
    int value;
    const char* fault;
  } cases[] = {
      {0, 0, "ident is not MDSW"},
      {4, 3, "version is 3: only 4 can be read"},
      {bones + 80 + 64, 1, "bone 1 names parent 1: a parent is -1 or stands before its child"},
      {second, 9, "surface 1: ident is 9 in place of 8"},
      {second + 176 + 32, 3, "surface 1: vertex 0 names bone 3 of 3"},
      {second + 176 + 32, -1, ""},
      {second + 176 + 52 * 3, 7, "surface 1: triangle 0 names vertex 7 of 3"},
      {80, 0, "numFrames is 0: a skeleton has at least 1 frame"}};
  for (const auto& each : cases) {
    bytes bad = good;
    SetNumber(bad, each.field, each.value);
    cmdsfile file;
    EXPECT_EQ(file.Parse({bad.data(), bad.size()}), each.fault[0] == '\0');
    EXPECT_EQ(file.Fault(), each.fault);
  }
}

// A small file cannot claim the same vertices or triangles for many surfaces.
TEST(SkeletalReaders, SurfacesDoNotShareWhatTheyHold) {
  constexpr std::size_t kSurfaces = 20;
  constexpr std::size_t kHeader = 176;
  constexpr std::size_t kNumVerts = 100 + 144;
  skelmodel model = SmallSkelModel();
  model.surfaces[0].verts.assign(200, model.surfaces[0].verts[0]);
  model.surfaces[0].triangles.clear();
  model.surfaces.resize(1);
  model.surfaces.insert(model.surfaces.begin(), kSurfaces - 1, {"empty", {}, {}});
  bytes file = model.WriteMdm();
  const std::size_t offset = Offset(file, kNumVerts + (kSurfaces - 1) * kHeader + 4);
  for (std::size_t s = 0; s < kSurfaces - 1; ++s) {
    const std::size_t field = kNumVerts + s * kHeader;
    SetNumber(file, field, 200);
    SetNumber(file, field + 4, static_cast<int>(offset + (kSurfaces - 1 - s) * kHeader));
  }
  cmdmfile shared;
  EXPECT_FALSE(shared.Parse({file.data(), file.size()}));
  EXPECT_NE(shared.Fault().find("so far are larger than the file"), std::string::npos);
}

}  // namespace
