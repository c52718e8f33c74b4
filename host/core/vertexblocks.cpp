#include "core/vertexblocks.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "core/box.h"
#include "core/deform.h"

namespace core {

namespace {

// Vertices of a block: testing its bounds costs about as much as two of them.
constexpr std::uint32_t kBlock = 8;
constexpr std::uint32_t kRigidBlock = 16;  // whose vertices cost half as much

// Along one edge of the box that neighbours are told in.
constexpr float kMostCell = 1023.0F;

// Of a vertex; a block with more has no bounds.
constexpr std::uint32_t kMostWeights = 16;

// A position is a sum of at most 4 products for each of kMostWeights weights, and each step rounds
// by 2^-24: 4e-6 of what is summed up for weights whose sum is 1, and the bound rounds by less.
constexpr float kRounding = 1e-5F;

constexpr float kFar = std::numeric_limits<float>::infinity();

float4 Absolute(float4 p) {
  using bits = std::uint32_t __attribute__((vector_size(16)));
  constexpr std::uint32_t kRest = 0x7FFFFFFFU;
  return std::bit_cast<float4>(std::bit_cast<bits>(p) & bits{kRest, kRest, kRest, kRest});
}

class blockmaker {
 public:
  blockmaker(const skinstate& skin, const deformer& work) : skin_(skin), work_(work) {
    placeOf_.resize(work.joints.size());
  }

  vertexblocks Make() {
    const auto count = static_cast<std::uint32_t>(skin_.mesh.verts.size());
    Order(count);
    LayOut();
    made_.blocks.reserve(count / kBlock + 1);
    const auto distinct = static_cast<std::uint32_t>(made_.order.size());
    for (std::uint32_t first = 0; first < distinct;) {
      std::uint32_t end = std::min(first + kRigidBlock, distinct);
      if (!IsRigid(first, end)) {
        end = std::min(first + kBlock, distinct);
      }
      Add(first, end);
      first = end;
    }
    return std::move(made_);
  }

 private:
  // By the joint of the largest weight, then along a curve through the box at rest that keeps
  // neighbours together.
  void Order(std::uint32_t count) {
    cpoint3 low;
    cpoint3 high;
    BoxOf(skin_.mesh.verts, low, high);
    const float edge = std::max({high.x - low.x, high.y - low.y, high.z - low.z});
    const float cells = edge > 0.0F ? kMostCell / edge : 0.0F;
    std::vector<std::pair<std::uint64_t, std::uint32_t>> keys(count);
    for (std::uint32_t v = 0; v < count; ++v) {
      const cpoint3& p = skin_.mesh.verts[v];
      const std::uint64_t place = Spread((p.x - low.x) * cells) |
                                  Spread((p.y - low.y) * cells) << 1 |
                                  Spread((p.z - low.z) * cells) << 2;
      keys[v] = {std::uint64_t{MainJoint(v)} << 32 | place, v};
    }
    std::ranges::sort(keys);
    made_.order.reserve(count);
    for (const auto& [key, v] : keys) {
      if (made_.order.empty() || !SamePosition(v, made_.order.back())) {
        made_.order.push_back(v);
      }
    }
  }

  void LayOut() {
    blendweights& to = made_.weights;
    to.starts.reserve(made_.order.size() + 1);
    to.jointOf.reserve(work_.weights.jointOf.size());
    to.offsets.reserve(work_.weights.offsets.size());
    for (const std::uint32_t v : made_.order) {
      to.starts.push_back(static_cast<std::uint32_t>(to.jointOf.size()));
      for (std::uint32_t i = work_.weights.starts[v]; i < work_.weights.starts[v + 1]; ++i) {
        to.jointOf.push_back(work_.weights.jointOf[i]);
        to.offsets.push_back(work_.weights.offsets[i]);
      }
    }
    to.starts.push_back(static_cast<std::uint32_t>(to.jointOf.size()));
  }

  bool IsRigid(std::uint32_t first, std::uint32_t end) const {
    const blendweights& weights = made_.weights;
    const std::uint32_t start = weights.starts[first];
    for (std::uint32_t v = first; v < end; ++v) {
      if (weights.starts[v + 1] - weights.starts[v] != 1 ||
          weights.jointOf[weights.starts[v]] != weights.jointOf[start]) {
        return false;
      }
    }
    return true;
  }

  // Of vertices that differ in their normals or texture vertices, at most.
  bool SamePosition(std::uint32_t a, std::uint32_t b) const {
    const std::uint32_t first = work_.weights.starts[a];
    const std::uint32_t other = work_.weights.starts[b];
    const std::uint32_t count = work_.weights.starts[a + 1] - first;
    if (count == 0 || count != work_.weights.starts[b + 1] - other) {
      return false;
    }
    return std::equal(&work_.weights.jointOf[first], &work_.weights.jointOf[first] + count,
                      &work_.weights.jointOf[other]) &&
           std::memcmp(&work_.weights.offsets[first], &work_.weights.offsets[other],
                       count * sizeof(float4)) == 0;
  }

  std::uint32_t MainJoint(std::uint32_t v) const {
    std::uint32_t joint = 0;
    float largest = -1.0F;
    for (std::uint32_t i = work_.weights.starts[v]; i < work_.weights.starts[v + 1]; ++i) {
      if (work_.weights.offsets[i][3] > largest) {
        largest = work_.weights.offsets[i][3];
        joint = work_.weights.jointOf[i];
      }
    }
    return joint;
  }

  // The ten bits of a cell's number, two zeros before each; for what is no finite number too.
  static std::uint64_t Spread(float cell) {
    std::uint32_t bits = cell >= 0.0F && cell <= kMostCell ? static_cast<std::uint32_t>(cell) : 0;
    bits = (bits | bits << 16) & 0x030000FFU;
    bits = (bits | bits << 8) & 0x0300F00FU;
    bits = (bits | bits << 4) & 0x030C30C3U;
    bits = (bits | bits << 2) & 0x09249249U;
    return bits;
  }

  // The bound of the joint in the block whose bounds begin at `first`.
  vertexblocks::bound& BoundOf(std::uint32_t joint, std::size_t first) {
    std::size_t& place = placeOf_[joint];
    if (place < first || place >= made_.bounds.size() || made_.bounds[place].joint != joint) {
      place = made_.bounds.size();
      const float4 none = {kFar, kFar, kFar, kFar};
      made_.bounds.push_back({none, -none, joint});
    }
    return made_.bounds[place];
  }

  // While a block is read, a bound's centre and half are the least and the largest offset.
  bool AddVertex(std::uint32_t v, std::size_t firstBound, float& lack) {
    const std::uint32_t first = work_.weights.starts[v];
    const std::uint32_t end = work_.weights.starts[v + 1];
    if (first == end || end - first > kMostWeights) {
      return false;
    }
    const cskinweight* weight = &skin_.weights[skin_.stretches[v].first];
    float sum = 0.0F;
    for (std::uint32_t i = first; i < end; ++i, ++weight) {
      while (weight->bone == nullptr) {
        ++weight;
      }
      const cpoint3& p = weight->offset;
      if (!(weight->weight >= 0.0F) || !std::isfinite(p.x) || !std::isfinite(p.y) ||
          !std::isfinite(p.z)) {
        return false;
      }
      sum += weight->weight;
      vertexblocks::bound& bound = BoundOf(work_.weights.jointOf[i], firstBound);
      const float4 offset = LanesOf(p);
      bound.centre = Least(offset, bound.centre);
      bound.half = Largest(offset, bound.half);
    }
    lack = std::max(lack, std::abs(1.0F - sum));
    return true;
  }

  void Add(std::uint32_t first, std::uint32_t end) {
    const std::size_t firstBound = made_.bounds.size();
    float lack = 0.0F;
    bool bounded = true;
    for (std::uint32_t v = first; v < end && bounded; ++v) {
      bounded = AddVertex(made_.order[v], firstBound, lack);
    }
    if (!bounded) {
      made_.bounds.resize(firstBound);
    }
    // The weights' sum is at most 1 + lack, and that of a bound 1.
    const float margin = kRounding * (2.0F + lack) + lack;
    for (std::size_t i = firstBound; i < made_.bounds.size(); ++i) {
      vertexblocks::bound& bound = made_.bounds[i];
      const float4 low = bound.centre;
      const float4 high = bound.half;
      bound.centre = 0.5F * low + 0.5F * high;
      bound.half = 0.5F * high - 0.5F * low + margin * Largest(Absolute(low), Absolute(high));
    }
    made_.blocks.push_back({first, end, IsRigid(first, end), static_cast<std::uint32_t>(firstBound),
                            static_cast<std::uint32_t>(made_.bounds.size()), margin});
  }

  const skinstate& skin_;
  const deformer& work_;
  std::vector<std::size_t> placeOf_;  // by joint: its last bound
  vertexblocks made_;
};

}  // namespace

bool vertexblocks::Within(const block& which, const deformer& work, float4 low, float4 high) const {
  if (which.firstBound == which.endBound) {
    return false;
  }
  float4 least = {kFar, kFar, kFar, kFar};
  float4 largest = -least;
  float4 spoiled = float4{};  // not 0 where a bound is not finite
  for (std::uint32_t i = which.firstBound; i < which.endBound; ++i) {
    const bound& each = bounds[i];
    const float4* const row = work.matrices[each.joint].row;
    const float4 centre = TimesRows(each.centre, row[0], row[1], row[2]) + row[3];
    const float4 half = TimesRows(each.half, Absolute(row[0]), Absolute(row[1]), Absolute(row[2])) +
                        which.margin * Absolute(row[3]);
    least = Least(centre - half, least);
    largest = Largest(centre + half, largest);
    spoiled += 0.0F * half;
  }
  const float4 margin = which.margin * Absolute(LanesOf(work.whole));
  const auto within = (least - margin >= low) & (largest + margin <= high) & (spoiled == 0.0F);
  return (within[0] & within[1] & within[2]) != 0;
}

vertexblocks MakeBlocks(const skinstate& skin, const deformer& work) {
  return blockmaker(skin, work).Make();
}

}  // namespace core
