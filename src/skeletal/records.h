#pragma once

// The records that the skeletal formats share, byte for byte. Offsets (ofs...) count from the
// start of the record that has them, unless told otherwise. mds/records.h and mdmmdx/records.h
// give them their names in each format.

#include <array>
#include <cstdint>

#include "binary/little.h"
#include "binary/namefield.h"

// A bone's compressed pose in a frame, in angle units (skeletal/angles.h).
struct skelBoneFrame {
  // Pitch (about Y), yaw (about Z), roll (about X) of the bone's world orientation, and 0.
  std::array<little<std::int16_t>, 4> angles;
  // Pitch and yaw of the direction from the parent to the bone, in world space.
  std::array<little<std::int16_t>, 2> ofsAngles;
};
static_assert(sizeof(skelBoneFrame) == 12);

// A frame's head; one skelBoneFrame for each bone follows.
struct skelFrame {
  // Minimum and maximum corner, relative to localOrigin.
  std::array<std::array<little<float>, 3>, 2> bounds;
  std::array<little<float>, 3> localOrigin;
  // The longest edge of the box, full length.
  little<float> radius;
  // Position of the first bone without a parent, relative to localOrigin.
  std::array<little<float>, 3> parentOffset;
};
static_assert(sizeof(skelFrame) == 52);

struct skelBoneInfo {
  namefield<64> name;
  // An index below the bone's own; -1 for none.
  little<std::int32_t> parent;
  little<float> torsoWeight;
  // Distance from the parent; 0 for a bone without one.
  little<float> parentDist;
  // 1 for a tag bone.
  little<std::int32_t> flags;
};
static_assert(sizeof(skelBoneInfo) == 80);

// Vertices, triangles, collapse map and bone references follow, in a written file in this order.
struct skelSurface {
  little<std::int32_t> ident;
  namefield<64> name;
  namefield<64> shader;
  little<std::int32_t> shaderIndex;
  little<std::int32_t> minLod;
  // Minus this surface's position in the file.
  little<std::int32_t> ofsHeader;
  little<std::int32_t> numVerts;
  little<std::int32_t> ofsVerts;
  little<std::int32_t> numTriangles;
  little<std::int32_t> ofsTriangles;
  little<std::int32_t> ofsCollapseMap;
  little<std::int32_t> numBoneReferences;
  little<std::int32_t> ofsBoneReferences;
  // The size of the whole surface: the next one starts here.
  little<std::int32_t> ofsEnd;
};
static_assert(sizeof(skelSurface) == 176);

// What the vertices of all formats begin with.
struct skelVertex {
  std::array<little<float>, 3> normal;
  // u, v
  std::array<little<float>, 2> texCoords;
  little<std::int32_t> numWeights;
};
static_assert(sizeof(skelVertex) == 24);

struct skelWeight {
  // Into the whole bone list; -1 for a bone outside it.
  little<std::int32_t> boneIndex;
  little<float> boneWeight;
  // The vertex in the bone's own space.
  std::array<little<float>, 3> offset;
};
static_assert(sizeof(skelWeight) == 20);

using skelTriangle = std::array<little<std::int32_t>, 3>;
static_assert(sizeof(skelTriangle) == 12);
