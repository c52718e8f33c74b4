// Readers over damaged files, and what they say of them.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "hostile/gltfreader.h"
#include "hostile/readers.h"
#include "samples/gltfmodel.h"
#include "samples/mdcmodel.h"
#ifdef MARROW_COMPRESSED_GLTF
#include "samples/packedgltf.h"
#endif
#include "samples/skelmodel.h"

namespace {

// Each damaged copy stands in a block of exactly its size, so that the address sanitizer sees a
// reader take one byte too many. Damage at random is the fuzz targets'.
template <class Read>
auto ReadBlock(const bytes& content, Read&& read) {
  const auto block = std::make_unique<unsigned char[]>(content.size());
  std::ranges::copy(content, block.get());
  return read(static_cast<const unsigned char*>(block.get()), content.size());
}

constexpr std::int32_t kBadNumbers[] = {0, -1, 0x7FFFFFFF};

using reader = bool (*)(const unsigned char*, std::size_t);
// From the first byte of a 32-bit field to the end of another.
using stretch = std::pair<std::size_t, std::size_t>;

std::size_t Offset(const bytes& file, std::size_t field) {
  return static_cast<std::size_t>(bytereader(file).I32(field));
}

// A file cut off at every byte, and with each field set to each bad number. `unread` bytes at the
// end may be missing.
void ExpectSafe(const bytes& good, std::size_t unread, const std::vector<stretch>& fields,
                reader read) {
  EXPECT_TRUE(ReadBlock(good, read));
  for (std::size_t size = 0; size < good.size(); ++size) {
    const bytes cut(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(ReadBlock(cut, read), size >= good.size() - unread) << "cut at " << size;
  }
  for (const auto& [first, end] : fields) {
    for (std::size_t i = 3 * first / 4; i < 3 * end / 4; ++i) {
      bytes bad = good;
      Patch(bad, i / 3 * 4, kBadNumbers[i % 3]);
      ReadBlock(bad, read);
    }
  }
}

TEST(Hostile, Mdc) {
  const bytes good = SmallMdcModel().Write();
  const std::size_t surface = Offset(good, 104);
  // Vertices of frames are asked for one by one: here those of the last surface.
  ExpectSafe(good, 48, {{0, 8}, {72, 112}, {surface + 68, surface + 124}}, ReadMdc);
  bytes last = good;
  Patch(last, surface + Offset(good, surface + 120) + 120, 0);
  EXPECT_TRUE(ReadBlock(last, ReadMdc)) << "nothing follows the last surface";
}

TEST(Hostile, Mds) {
  const bytes good = SmallSkelModel().WriteMds();
  const std::size_t bones = Offset(good, 92);
  const std::size_t surface = Offset(good, 104);
  // The two tags are not followed.
  ExpectSafe(good, 144,
             {{0, 8}, {72, 120}, {bones + 64, bones + 80}, {surface + 132, surface + 240}},
             ReadMds);
}

TEST(Hostile, Mdm) {
  const bytes good = SmallSkelModel().WriteMdm();
  const std::size_t tag = Offset(good, 92);
  ExpectSafe(good, 4, {{0, 8}, {72, 100}, {232, 340}, {tag + 64, tag + 132}}, ReadMdm);
  bytes last = good;
  Patch(last, 100 + Offset(good, 272) + 172, 0);
  Patch(last, good.size() - 8, 0);
  EXPECT_TRUE(ReadBlock(last, ReadMdm)) << "nothing follows the last surface and the last tag";
}

TEST(Hostile, Mdx) {
  const bytes good = SmallSkelModel().WriteMdx();
  const std::size_t bones = Offset(good, 84);
  ExpectSafe(good, 0, {{0, 8}, {72, 200}, {bones + 64, bones + 80}}, ReadMdx);
}

TEST(Hostile, BinaryGltf) {
  // The header and the first chunk's.
  ExpectSafe(SmallGltf().Binary(), 0, {{0, 20}}, ReadGltf);
}

TEST(Hostile, GltfText) {
  const std::string text = SmallGltf().Text();
  ExpectSafe(bytes(text.begin(), text.end()), 0, {}, ReadGltf);
}

#ifdef MARROW_COMPRESSED_GLTF
TEST(Hostile, CompressedGltf) {
  ExpectSafe(MeshoptGltf().Binary(), 0, {{0, 20}}, ReadGltf);
  ExpectSafe(DracoGltf(dracomethod::Sequential).Binary(), 0, {}, ReadGltf);
  ExpectSafe(DracoGltf(dracomethod::Edgebreaker).Binary(), 0, {}, ReadGltf);
}
#endif

TEST(SkeletalReaders, FaultsNameTheirPlace) {
  const bytes good = SmallSkelModel().WriteMds();
  const std::size_t bones = Offset(good, 92);
  const std::size_t first = Offset(good, 104);
  const std::size_t second = first + Offset(good, first + 172);
  const struct {
    std::size_t field;
    int value;
    const char* fault;
  } cases[] = {{0, 0, "ident is not MDSW"},
               {4, 3, "version is 3: only 4 can be read"},
               {bones + 80 + 64, 1, "bone 1 names parent 1: a parent stands before its child"},
               {bones + 80 + 64, 2, "bone 1 names parent 2: a parent stands before its child"},
               {bones + 80 + 64, 3, ""},
               {bones + 80 + 64, -2, ""},
               {second, 9, "surface 1: ident is 9 instead of 8"},
               {second + 176 + 32, 3, "surface 1: vertex 0 names bone 3 of 3"},
               {second + 176 + 32, -1, ""},
               {second + 172, 0, ""},
               {second + 144, -1, ""},
               {second + 152, -1, ""},
               {second + 152, 9999,
                "surface 1: the triangles do not lie inside the file (numTriangles, "
                "ofsTriangles)"},
               {second + 176 + 20, -1, ""},
               {second + 176 + 52 * 3, 7, ""},
               {84, -1, "surface 0: vertex 0 names bone 0 of 0"},
               {104, 1 << 30, "surface 0: its header does not lie inside the file"},
               {108, 7000, ""},
               {112, 1 << 30, ""},
               {112, -1, ""},
               {80, -1, ""},
               {80, 60, "the frames do not lie inside the file (numFrames, ofsFrames)"},
               {80, 0, ""}};
  for (const auto& each : cases) {
    bytes bad = good;
    Patch(bad, each.field, each.value);
    cmdsfile file;
    EXPECT_EQ(file.Parse({bad.data(), bad.size()}), each.fault[0] == '\0');
    EXPECT_EQ(file.Fault(), each.fault);
  }
}

using patches = std::vector<std::pair<std::size_t, std::int64_t>>;

template <class File>
std::string NamesIn(const bytes& good, const patches& changes) {
  bytes changed = good;
  for (const auto& [position, value] : changes) {
    Patch(changed, position, value);
  }
  File file;
  if (!file.Parse({changed.data(), changed.size()})) {
    return file.Fault();
  }
  std::string names;
  for (const auto& entry : file.surfaces) {
    names += NameText(entry.surface->name).data() + std::string(" ");
  }
  if constexpr (requires { file.tags.front()->name; }) {
    for (const mdmTag* tag : file.tags) {
      names += NameText(tag->name).data() + std::string(" ");
    }
  }
  return names;
}

// Surfaces and tags may lie in any order, and may be one and the same, as long as a small file
// does not become a scene that no memory holds.
TEST(Readers, OrderAndSharing) {
  constexpr int kMany = 0x7FFFFFFF;
  const auto expectShared = [](const std::string& fault) {
    EXPECT_NE(fault.find("share blocks for more than a scene takes"), std::string::npos) << fault;
  };
  const bytes mdc = SmallMdcModel().Write();
  const std::size_t one = Offset(mdc, 104);
  const std::size_t two = one + Offset(mdc, one + 120);
  const auto back = [](std::size_t from, std::size_t to) {
    return static_cast<std::int64_t>(to) - static_cast<std::int64_t>(from);
  };
  EXPECT_EQ(NamesIn<cmdcfile>(mdc, {{104, two}, {two + 120, back(two, one)}}), "cape body ");
  EXPECT_EQ(NamesIn<cmdcfile>(mdc, {{one + 120, 0}}), "body body ");
  EXPECT_EQ(NamesIn<cmdcfile>(mdc, {{one + 120, -9999}}),
            "surface 1: its header does not lie inside the file");
  expectShared(NamesIn<cmdcfile>(mdc, {{one + 120, 0}, {84, kMany}}));
  // Half of the file as texture coordinates, too often for those and not for the rest.
  const auto half = static_cast<std::int64_t>(mdc.size() / (2 * sizeof(mdcSt)));
  expectShared(NamesIn<cmdcfile>(
      mdc, {{one + 120, 0}, {84, 100000}, {one + 84, half}, {one + 100, back(one, 0)}}));
  // Lists without entries, wherever they are said to lie.
  EXPECT_EQ(NamesIn<cmdcfile>(mdc, {{80, 0}, {96, -1}, {100, 1 << 30}, {84, -3}, {104, -1}}), "");
  EXPECT_EQ(NamesIn<cmdcfile>(mdc, {{one + 80, -1},
                                    {one + 96, 1 << 30},
                                    {one + 84, 0},
                                    {one + 100, -9999},
                                    {one + 104, -9999},
                                    {one + 108, 1 << 30},
                                    {one + 88, -5},
                                    {one + 92, 1 << 30}}),
            "body cape ");
  EXPECT_EQ(NamesIn<cmdcfile>(mdc, {{one + 108, 1 << 30}}), "body cape ");

  const bytes mdm = SmallSkelModel().WriteMdm();
  const std::size_t second = 100 + Offset(mdm, 100 + 172);
  const std::size_t tag = Offset(mdm, 92);
  EXPECT_EQ(NamesIn<cmdmfile>(mdm, {{84, second},
                                    {second + 172, back(second, 100)},
                                    {92, tag + 132},
                                    {tag + 132 + 124, -132}}),
            "hat body tag_back tag_head ");
  EXPECT_EQ(NamesIn<cmdmfile>(mdm, {{100 + 172, 0}, {tag + 124, 0}}),
            "body body tag_head tag_head ");
  EXPECT_EQ(NamesIn<cmdmfile>(mdm, {{tag + 124, -9999}}), "tag 1 does not lie inside the file");
  expectShared(NamesIn<cmdmfile>(mdm, {{100 + 172, 0}, {80, kMany}}));
  expectShared(NamesIn<cmdmfile>(mdm, {{tag + 124, 0}, {88, kMany}}));
  EXPECT_EQ(NamesIn<cmdmfile>(mdm, {{80, 0}, {84, -1}, {88, -4}, {92, 1 << 30}}), "");
  // Both lists are looked into, so that all that is wrong is told.
  EXPECT_EQ(NamesIn<cmdmfile>(mdm, {{100, 8}, {92, -1}}),
            "surface 0: ident is 8 instead of 9; tag 0 does not lie inside the file");
}

}  // namespace
