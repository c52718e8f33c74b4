#include <gtest/gtest.h>

#include "hostile/damage.h"
#include "hostile/readers.h"
#include "samples/mdcmodel.h"

namespace {

// Every number of the file's header, and of the header of the surface at `surface`.
std::vector<std::size_t> MdcFields(std::size_t surface) {
  std::vector<std::size_t> fields{0, 4};
  for (std::size_t field = 72; field < 112; field += 4) {
    fields.push_back(field);
  }
  for (std::size_t field = 68; field < 124; field += 4) {
    fields.push_back(surface + field);
  }
  return fields;
}

TEST(Hostile, Mdc) {
  const bytes good = SmallMdcModel().Write();
  ReadBlock(good, [](auto... block) { EXPECT_TRUE(ReadMdc(block...)); });
  ReadTruncations(good, [](auto... block) { EXPECT_FALSE(ReadMdc(block...)); });
  int refused = 0;
  int accepted = 0;
  const auto read = [&](auto... block) { ++(ReadMdc(block...) ? accepted : refused); };
  const std::size_t surface = static_cast<std::size_t>(bytereader(good).I32(104));
  ReadDamaged(good, MdcFields(surface), read);
  // Both kinds come up, or the damage is too small or too large to tell anything.
  EXPECT_GT(refused, 10000);
  EXPECT_GT(accepted, 10000);
}

}  // namespace
