#include <gtest/gtest.h>

#include "hostile/damage.h"
#include "hostile/gltfreader.h"
#include "samples/gltfmodel.h"

namespace {

// Each kind of file in a test of its own, so that they run side by side.
void ExpectUnharmed(const bytes& good) {
  constexpr int kMutations = 25000;
  ReadBlock(good, [](auto... block) { EXPECT_TRUE(ReadGltf(block...)); });
  int refused = 0;
  int accepted = 0;
  const auto read = [&](auto... block) { ++(ReadGltf(block...) ? accepted : refused); };
  ReadTruncations(good, [](auto... block) { EXPECT_FALSE(ReadGltf(block...)); });
  ReadMutations(good, kMutations, read);
  EXPECT_GT(refused, kMutations / 10);
  EXPECT_GT(accepted, kMutations / 20);
}

TEST(Hostile, BinaryGltf) {
  const bytes good = SmallGltf().Binary();
  ExpectUnharmed(good);
  // The header and the first chunk's.
  ReadBadFields(good, {0, 4, 8, 12, 16}, [](auto... block) { EXPECT_FALSE(ReadGltf(block...)); });
}

TEST(Hostile, GltfText) {
  const std::string text = SmallGltf().Text();
  ExpectUnharmed(bytes(text.begin(), text.end()));
}

// Every number of the document set to what no list has, what overflows, what is no whole number.
TEST(Hostile, GltfNumbers) {
  const gltfmodel good = SmallGltf();
  const nlohmann::json flat = good.doc.flatten();
  for (const auto& [path, value] : flat.items()) {
    if (!value.is_number()) {
      continue;
    }
    for (const nlohmann::json& bad :
         {nlohmann::json(-1), nlohmann::json(2147483647), nlohmann::json(1e18),
          nlohmann::json(1e39), nlohmann::json(0.5), nlohmann::json("text"), nlohmann::json()}) {
      gltfmodel changed = good;
      changed.doc[nlohmann::json::json_pointer(path)] = bad;
      ReadBlock(changed.Binary(), [](auto... block) { ReadGltf(block...); });
    }
  }
}

}  // namespace
