#include <gtest/gtest.h>

#include "hostile/damage.h"
#include "hostile/readers.h"
#include "samples/skelmodel.h"

namespace {

using reader = bool (*)(const unsigned char*, std::size_t);

// Every 32-bit field from `first` to `end`, a name's included.
void AddFields(std::vector<std::size_t>& fields, std::size_t first, std::size_t end) {
  for (std::size_t field = first; field < end; field += 4) {
    fields.push_back(field);
  }
}

// `unread` bytes at the end may be missing.
void ExpectSafe(const bytes& good, std::size_t unread, const std::vector<std::size_t>& fields,
                reader read) {
  ReadBlock(good, [&](auto... block) { EXPECT_TRUE(read(block...)); });
  ReadTruncations(good, [&](const unsigned char* data, std::size_t size) {
    EXPECT_EQ(read(data, size), size >= good.size() - unread) << "cut at " << size;
  });
  int refused = 0;
  int accepted = 0;
  ReadDamaged(good, fields, [&](auto... block) { ++(read(block...) ? accepted : refused); });
  // Both kinds come up, or the damage is too small or too large to tell anything.
  EXPECT_GT(refused, 10000);
  EXPECT_GT(accepted, 10000);
}

TEST(Hostile, Mds) {
  const bytes good = SmallSkelModel().WriteMds();
  const auto bones = static_cast<std::size_t>(bytereader(good).I32(92));
  const auto surface = static_cast<std::size_t>(bytereader(good).I32(104));
  std::vector<std::size_t> fields{0, 4};
  AddFields(fields, 72, 120);
  AddFields(fields, bones + 64, bones + 80);
  AddFields(fields, surface + 132, surface + 240);
  ExpectSafe(good, 0, fields, ReadMds);
}

TEST(Hostile, Mdm) {
  const bytes good = SmallSkelModel().WriteMdm();
  const auto tag = static_cast<std::size_t>(bytereader(good).I32(92));
  std::vector<std::size_t> fields{0, 4};
  AddFields(fields, 72, 100);
  AddFields(fields, 100 + 132, 100 + 240);
  AddFields(fields, tag + 64, tag + 132);
  ExpectSafe(good, 4, fields, ReadMdm);
  ReadMutations(SmallSkelPair(), 20000, ReadMdm);
}

TEST(Hostile, Mdx) {
  const bytes good = SmallSkelModel().WriteMdx();
  const auto bones = static_cast<std::size_t>(bytereader(good).I32(84));
  std::vector<std::size_t> fields{0, 4};
  AddFields(fields, 72, 200);
  AddFields(fields, bones + 64, bones + 80);
  ExpectSafe(good, 0, fields, ReadMdx);
}

// What a reader says of a field that was changed; empty where it accepts the file.
template <class File>
std::string FaultOf(const bytes& good, std::int64_t field, std::int64_t value) {
  bytes bad = good;
  SetNumber(bad, static_cast<std::size_t>(field), static_cast<std::int32_t>(value));
  File file;
  const bool accepted = file.Parse({bad.data(), bad.size()});
  EXPECT_EQ(accepted, file.Fault().empty());
  return file.Fault();
}

TEST(SkeletalReaders, FaultsNameTheirPlace) {
  const bytes good = SmallSkelModel().WriteMds();
  const bytereader fields(good);
  const std::int64_t bones = fields.I32(92);
  const auto first = static_cast<std::size_t>(fields.I32(104));
  const std::int64_t second = static_cast<std::int64_t>(first) + fields.I32(first + 172);
  const auto fault = [&](std::int64_t field, std::int64_t value) {
    return FaultOf<cmdsfile>(good, field, value);
  };
  EXPECT_EQ(fault(0, 0), "ident is not MDSW");
  EXPECT_EQ(fault(4, 3), "version is 3: only 4 can be read");
  EXPECT_EQ(fault(bones + 80 + 64, 1),
            "bone 1 names parent 1: a parent is -1 or stands before its child");
  EXPECT_EQ(fault(second, 9), "surface 1: ident is 9 in place of 8");
  EXPECT_EQ(fault(second + 176 + 32, 3), "surface 1: vertex 0 names bone 3 of 3");
  EXPECT_EQ(fault(second + 176 + 32, -1), "");
  EXPECT_EQ(fault(second + 176 + 52 * 3, 7), "surface 1: triangle 0 names vertex 7 of 3");
  EXPECT_EQ(fault(80, 0), "numFrames is 0: a skeleton has at least 1 frame");
  // Without bones nothing of a frame is read, so frames need not be there; but one is counted.
  EXPECT_EQ(FaultOf<cmdsfile>(skelmodel().WriteMds(), 80, 2000000000), "");
  EXPECT_EQ(FaultOf<cmdxfile>(skelmodel().WriteMdx(), 72, 2000000000), "");
  EXPECT_NE(FaultOf<cmdxfile>(skelmodel().WriteMdx(), 72, 0), "");

  skelmodel pair = SmallSkelModel();
  pair.surfaces[1].verts[2].weights[0].bone = 3;
  const bytes mdm = pair.WriteMdm();
  const bytes mdx = pair.WriteMdx();
  cmdmfile mesh;
  cmdxfile skeleton;
  ASSERT_TRUE(mesh.Parse({mdm.data(), mdm.size()}) && skeleton.Parse({mdx.data(), mdx.size()}));
  std::string unfit;
  EXPECT_FALSE(mesh.FitsTo(skeleton, unfit));
  EXPECT_EQ(unfit, "surface 1: vertex 2 names bone 3 of a skeleton with 3");
}

// A small file cannot claim the same vertices or triangles for many surfaces.
TEST(SkeletalReaders, SurfacesDoNotShareWhatTheyHold) {
  constexpr int kSurfaces = 20;
  constexpr int kHeader = 176;
  skelmodel model = SmallSkelModel();
  model.surfaces[0].verts.assign(200, model.surfaces[0].verts[0]);
  model.surfaces[0].triangles.assign(200, model.surfaces[0].triangles[0]);
  model.surfaces[1] = {"empty", {}, {}};
  std::swap(model.surfaces[0], model.surfaces[1]);
  model.surfaces.insert(model.surfaces.begin(), kSurfaces - 2, model.surfaces[0]);
  bytes file = model.WriteMdm();
  // The vertices, then the triangles: where their number and their offset stand.
  for (const std::size_t count : {std::size_t{144}, std::size_t{152}}) {
    const int offset = bytereader(file).I32(100 + (kSurfaces - 1) * kHeader + count + 4);
    for (int s = 0; s < kSurfaces - 1; ++s) {
      const std::size_t field = 100 + static_cast<std::size_t>(s) * kHeader + count;
      SetNumber(file, field, 200);
      SetNumber(file, field + 4, offset + (kSurfaces - 1 - s) * kHeader);
    }
    cmdmfile shared;
    EXPECT_FALSE(shared.Parse({file.data(), file.size()}));
    EXPECT_NE(shared.Fault().find("so far are larger than the file"), std::string::npos);
  }
}

}  // namespace
