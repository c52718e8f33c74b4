#pragma once

// The records of an mdm file and of an mdx file, byte for byte. Offsets in the headers count from
// the start of their file, in mdmTag from the start of the tag.

#include "skeletal/records.h"

inline constexpr char kMdmIdent[4] = {'M', 'D', 'M', 'W'};
inline constexpr std::int32_t kMdmVersion = 3;
inline constexpr std::int32_t kMdmSurfaceIdent = 9;
inline constexpr char kMdxIdent[4] = {'M', 'D', 'X', 'W'};
inline constexpr std::int32_t kMdxVersion = 2;

using mdmSurface = skelSurface;
using mdmWeight = skelWeight;
using mdmTriangle = skelTriangle;
using mdxBoneFrame = skelBoneFrame;
using mdxFrame = skelFrame;
using mdxBoneInfo = skelBoneInfo;

struct mdmHeader {
  std::array<char, 4> ident;
  little<std::int32_t> version;
  namefield<64> name;
  // In the reverse order of mdsHeader.
  little<float> lodBias;
  little<float> lodScale;
  little<std::int32_t> numSurfaces;
  little<std::int32_t> ofsSurfaces;
  little<std::int32_t> numTags;
  little<std::int32_t> ofsTags;
  little<std::int32_t> ofsEnd;
};
static_assert(sizeof(mdmHeader) == 100);

// numWeights records of mdmWeight follow directly.
using mdmVertex = skelVertex;
static_assert(sizeof(mdmVertex) == 24);

// numBoneReferences bone numbers follow: from the top of the skeleton down to the parent bone.
struct mdmTag {
  namefield<64> name;
  // Orientation relative to the parent, by rows.
  std::array<std::array<little<float>, 3>, 3> axis;
  // The parent bone; -1 for none.
  little<std::int32_t> boneIndex;
  // Position relative to the parent.
  std::array<little<float>, 3> offset;
  little<std::int32_t> numBoneReferences;
  little<std::int32_t> ofsBoneReferences;
  little<std::int32_t> ofsEnd;
};
static_assert(sizeof(mdmTag) == 128);

struct mdxHeader {
  std::array<char, 4> ident;
  little<std::int32_t> version;
  namefield<64> name;
  little<std::int32_t> numFrames;
  little<std::int32_t> numBones;
  little<std::int32_t> ofsFrames;
  little<std::int32_t> ofsBones;
  little<std::int32_t> torsoParent;
  little<std::int32_t> ofsEnd;
};
static_assert(sizeof(mdxHeader) == 96);
