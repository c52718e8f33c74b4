#pragma once

// The records of an mdc file, byte for byte. Offsets (ofs...) count from the start of the file in
// mdcHeader and from the start of the surface in mdcSurface.

#include <cstdint>

#include "binary/little.h"
#include "binary/namefield.h"

inline constexpr char kMdcIdent[4] = {'I', 'D', 'P', 'C'};
inline constexpr std::int32_t kMdcVersion = 2;
inline constexpr std::int32_t kMdcSurfaceIdent = 7;

// Coordinates are whole numbers of 1/64 unit, relative to the localOrigin of their frame.
inline constexpr float kMdcStepsPerUnit = 64.0F;
inline constexpr float kMdcUnitsPerStep = 0.015625F;
// Angles are whole numbers of 1/65536 turn.
inline constexpr double kMdcDegreesPerStep = 0.0054931640625;
// A compressed offset is a whole number of 3/64 unit.
inline constexpr float kMdcUnitsPerCompressedStep = 0.046875F;
// The entry of the frame-to-compressed-frame table of a frame that is a base frame by itself.
inline constexpr std::uint16_t kMdcNoCompressedFrame = 0xFFFF;

struct mdcHeader {
  std::array<char, 4> ident;
  little<std::int32_t> version;
  namefield<64> name;
  little<std::int32_t> flags;
  little<std::int32_t> numFrames;
  little<std::int32_t> numTags;
  little<std::int32_t> numSurfaces;
  little<std::int32_t> numSkins;
  little<std::int32_t> ofsFrames;
  little<std::int32_t> ofsTagNames;
  little<std::int32_t> ofsTags;
  little<std::int32_t> ofsSurfaces;
  little<std::int32_t> ofsEnd;
};
static_assert(sizeof(mdcHeader) == 112);

struct mdcFrame {
  // Minimum and maximum corner, relative to localOrigin.
  std::array<std::array<little<float>, 3>, 2> bounds;
  std::array<little<float>, 3> localOrigin;
  // The longest edge of the box, full length.
  little<float> radius;
  namefield<16> name;
};
static_assert(sizeof(mdcFrame) == 56);

struct mdcTag {
  std::array<little<std::int16_t>, 3> xyz;
  // In the order that EulerToQuat takes them.
  std::array<little<std::int16_t>, 3> angles;
};
static_assert(sizeof(mdcTag) == 12);

struct mdcSurface {
  little<std::int32_t> ident;
  namefield<64> name;
  little<std::int32_t> flags;
  little<std::int32_t> numCompFrames;
  little<std::int32_t> numBaseFrames;
  little<std::int32_t> numShaders;
  little<std::int32_t> numVerts;
  little<std::int32_t> numTriangles;
  little<std::int32_t> ofsTriangles;
  little<std::int32_t> ofsShaders;
  little<std::int32_t> ofsSt;
  little<std::int32_t> ofsXyzNormals;
  little<std::int32_t> ofsXyzCompressed;
  little<std::int32_t> ofsFrameBaseFrames;
  little<std::int32_t> ofsFrameCompFrames;
  // The size of the whole surface: the next one starts here.
  little<std::int32_t> ofsEnd;
};
static_assert(sizeof(mdcSurface) == 124);

struct mdcShader {
  namefield<64> name;
  little<std::int32_t> shaderIndex;
};
static_assert(sizeof(mdcShader) == 68);

using mdcTriangle = std::array<little<std::int32_t>, 3>;

// u, v
using mdcSt = std::array<little<float>, 2>;

struct mdcXyzNormal {
  std::array<little<std::int16_t>, 3> xyz;
  // A code of the game's, which the handlers neither make nor read.
  little<std::uint16_t> normal;
};
static_assert(sizeof(mdcXyzNormal) == 8);

// Offsets for x, y, z, and a normal code of the game's.
using mdcXyzCompressed = std::array<std::uint8_t, 4>;
static_assert(sizeof(mdcTriangle) == 12 && sizeof(mdcSt) == 8 && sizeof(mdcXyzCompressed) == 4);
