#pragma once

#include <cstdint>
#include <vector>

#include "core/lanes.h"

namespace core {

struct deformer;
struct skinstate;

// Weights of vertices, one vertex after another.
struct blendweights {
  std::vector<std::uint32_t> jointOf;  // of each weight: an index into the joints
  std::vector<float4> offsets;         // the offset times the weight, and the weight
  std::vector<std::uint32_t> starts;   // of each vertex, and the end
};

// A skin's vertices in blocks of neighbours with bounds for where their joints can put them: a box
// needs the vertices of the few blocks alone that reach beyond it.
struct vertexblocks {
  // What a block's vertices have of one joint: their offsets' box in the joint's space, wider by
  // the block's margin of the offsets.
  struct bound {
    float4 centre;
    float4 half;
    std::uint32_t joint;
  };
  struct block {
    std::uint32_t first;  // of its vertices in `order`
    std::uint32_t end;
    bool rigid;                // each vertex has one weight, and all of them the same joint
    std::uint32_t firstBound;  // no bounds: the vertices may be anywhere
    std::uint32_t endBound;
    // What rounding may add, and what weights lack to the sum of 1, as a part of the coordinates
    // that are summed up.
    float margin;
  };

  std::vector<std::uint32_t> order;  // the vertices, block by block
  blendweights weights;              // of the vertices in that order
  std::vector<bound> bounds;
  std::vector<block> blocks;

  // False when a vertex of the block may stand outside of the box from low to high with the joints'
  // matrices as they are; the last lane does not count.
  bool Within(const block& which, const deformer& work, float4 low, float4 high) const;
};

// `work` is made from the skin, which has no morph targets.
vertexblocks MakeBlocks(const skinstate& skin, const deformer& work);

}  // namespace core
