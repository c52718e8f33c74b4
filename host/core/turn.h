#pragma once

namespace core {

struct turn {
  float cosine;
  float sine;
};

// Of an angle in degrees; whole quarter turns come out exact. Multiples of 360/65536 degrees, which
// models store, are looked up, with the same result as by the library's cosine and sine.
turn TurnOf(float degrees);

}  // namespace core
