#include "core/turn.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace core {

namespace {

struct exactturn {
  double cosine;
  double sine;
};

exactturn OfRadians(double radians) { return {std::cos(radians), std::sin(radians)}; }

// An angle of 16 bits is the sum of one of 256 coarse and one of 256 fine angles.
struct turntables {
  std::array<exactturn, 256> coarse;
  std::array<exactturn, 256> fine;
};

turntables MakeTables() {
  turntables made{};
  for (std::size_t i = 0; i < made.coarse.size(); ++i) {
    const double part = static_cast<double>(i) * (2.0 * std::numbers::pi / 256.0);
    made.coarse[i] = OfRadians(part);
    made.fine[i] = OfRadians(part / 256.0);
  }
  return made;
}

turn OfUnit(std::uint32_t unit) {
  static const turntables kTables = MakeTables();
  const exactturn& a = kTables.coarse[unit >> 8 & 0xFFU];
  const exactturn& b = kTables.fine[unit & 0xFFU];
  return {static_cast<float>(a.cosine * b.cosine - a.sine * b.sine),
          static_cast<float>(a.sine * b.cosine + a.cosine * b.sine)};
}

turn OfDegrees(double degrees) {
  const double rest = std::abs(degrees) <= 180.0 ? degrees : std::remainder(degrees, 360.0);
  if (rest == 0.0) {
    return {1.0F, 0.0F};
  }
  if (std::abs(rest) == 90.0) {
    return {0.0F, rest > 0.0 ? 1.0F : -1.0F};
  }
  if (std::abs(rest) == 180.0) {
    return {-1.0F, 0.0F};
  }
  const exactturn whole = OfRadians(rest * (std::numbers::pi / 180.0));
  return {static_cast<float>(whole.cosine), static_cast<float>(whole.sine)};
}

}  // namespace

turn TurnOf(float degrees) {
  constexpr std::int32_t kUnits = 65536;
  constexpr double kDegreesPerUnit = 360.0 / kUnits;
  const double given = degrees;
  if (!(std::abs(given) < 360.0)) {
    return OfDegrees(given);
  }
  // Rounded to the nearest; what is cast is not negative.
  const std::int32_t unit =
      static_cast<std::int32_t>(given * (kUnits / 360.0) + (kUnits + 0.5)) - kUnits;
  if (unit * kDegreesPerUnit != given || unit % (kUnits / 4) == 0) {
    return OfDegrees(given);
  }
  return OfUnit(static_cast<std::uint32_t>(unit));
}

}  // namespace core
