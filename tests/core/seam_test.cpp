#include <cstddef>
#include <cstring>
#include <iterator>

#include "testscene.h"

namespace {

TEST(Seam, LookAtIsARotationWithItsDirectionInRowTwo) {
  for (const cpoint3& direction : {cpoint3{0, 1, 0}, {0, -1, 0}, {0.6F, 0, -0.8F}}) {
    cmatrix4 look;
    MatrixLookAt(look, direction, MakePt3(0, 1, 0));
    ExpectPoint(look.GetRow3(2), direction, 1e-6F);
    for (const int i : {0, 1, 2}) {
      EXPECT_NEAR(look.GetRow3(i).Length(), 1.0F, 1e-6F);
    }
    const cpoint3 x = look.GetRow3(0), y = look.GetRow3(1);
    ExpectPoint({x.y * y.z - x.z * y.y, x.z * y.x - x.x * y.z, x.x * y.y - x.y * y.x}, direction,
                1e-6F);
  }
}

// What a module of another compiler run relies on beside the sizes: where its virtual calls land.
TEST(Seam, OrderOfTheTable) {
  const auto slot = [](auto member) {
    std::ptrdiff_t parts[2];
    static_assert(sizeof member == sizeof parts);
    std::memcpy(parts, &member, sizeof parts);
    return (parts[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
  };
  const std::ptrdiff_t slots[] = {
      slot(&cnode::Destroy),      slot(&cnode::SetName),       slot(&cnode::GetName),
      slot(&cnode::GetType),      slot(&cnode::GetFlags),      slot(&cnode::GetBBoxAtFrame),
      slot(&cnode::GetParent),    slot(&cnode::AttachChild),   slot(&cnode::SetMaterial),
      slot(&cnode::GetMaterial),  slot(&cnode::GetPosAtFrame), slot(&cnode::GetRotAtFrame),
      slot(&cnode::GetTMAtFrame), slot(&cnode::UpdateAnim)};
  for (std::ptrdiff_t i = 0; i < std::ssize(slots); ++i) {
    EXPECT_EQ(slots[i], i);
  }
}

}  // namespace
