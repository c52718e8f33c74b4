#pragma once

// The records of an mds file, byte for byte. Offsets in mdsHeader count from the start of the
// file.

#include "skeletal/records.h"

inline constexpr char kMdsIdent[4] = {'M', 'D', 'S', 'W'};
inline constexpr std::int32_t kMdsVersion = 4;
inline constexpr std::int32_t kMdsSurfaceIdent = 8;

using mdsBoneFrame = skelBoneFrame;
using mdsFrame = skelFrame;
using mdsBoneInfo = skelBoneInfo;
using mdsSurface = skelSurface;
using mdsWeight = skelWeight;
using mdsTriangle = skelTriangle;

struct mdsHeader {
  std::array<char, 4> ident;
  little<std::int32_t> version;
  namefield<64> name;
  little<float> lodScale;
  little<float> lodBias;
  little<std::int32_t> numFrames;
  little<std::int32_t> numBones;
  little<std::int32_t> ofsFrames;
  little<std::int32_t> ofsBones;
  little<std::int32_t> torsoParent;
  little<std::int32_t> numSurfaces;
  little<std::int32_t> ofsSurfaces;
  little<std::int32_t> numTags;
  little<std::int32_t> ofsTags;
  little<std::int32_t> ofsEnd;
};
static_assert(sizeof(mdsHeader) == 120);

// numWeights records of mdsWeight follow directly.
struct mdsVertex {
  std::array<little<float>, 3> normal;
  // u, v
  std::array<little<float>, 2> texCoords;
  little<std::int32_t> numWeights;
  little<std::int32_t> fixedParent;
  little<float> fixedDist;
};
static_assert(sizeof(mdsVertex) == 32);

struct mdsTag {
  namefield<64> name;
  little<float> torsoWeight;
  little<std::int32_t> boneIndex;
};
static_assert(sizeof(mdsTag) == 72);
