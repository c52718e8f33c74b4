#include "core/pose.h"

#include <algorithm>
#include <array>

#include "core/changes.h"
#include "core/scene.h"
#include "core/track.h"

namespace core {

namespace {

// Bytes of poses that a scene remembers, about.
constexpr std::size_t kCacheBytes = std::size_t{256} << 20;
constexpr std::size_t kMostSlots = std::size_t{1} << 16;

// The way from a node up to the first ancestor whose pose is known. Deep chains go to the heap,
// not to the call stack.
class ascent {
 public:
  void Push(const nodestate* state) {
    if (depth_ < near_.size()) {
      near_[depth_] = state;
    } else {
      far_.push_back(state);
    }
    ++depth_;
  }
  bool Empty() const { return depth_ == 0; }
  const nodestate* Pop() {
    --depth_;
    if (depth_ < near_.size()) {
      return near_[depth_];
    }
    const nodestate* state = far_.back();
    far_.pop_back();
    return state;
  }

 private:
  std::array<const nodestate*, 32> near_;
  std::vector<const nodestate*> far_;
  std::size_t depth_ = 0;
};

}  // namespace

posecache::frameview posecache::At(int frame, std::size_t numNodes) {
  if (numNodes > capacity_ || slots_.empty()) {
    // A scene that still grows while poses are asked for does not start over at each node.
    const std::size_t capacity = slots_.empty() ? numNodes : std::max(numNodes, 2 * capacity_);
    std::vector<slot> slots(
        std::clamp(kCacheBytes / (capacity * sizeof(entry)), std::size_t{2}, kMostSlots));
    slots_ = std::move(slots);
    capacity_ = capacity;
  }
  const auto count = static_cast<int>(slots_.size());
  const int rest = frame % count;
  slot& place = slots_[static_cast<std::size_t>(rest < 0 ? rest + count : rest)];
  if (!place.entries) {
    place.entries = std::make_unique<entry[]>(capacity_);
  }
  if (place.stamp == 0 || place.frame != frame || place.change != Changes()) {
    place.frame = frame;
    place.change = Changes();
    place.stamp = ++lastStamp_;
  }
  return {place.entries.get(), place.stamp};
}

affine WorldAtFrame(const cnode& node, int frame) {
  scene* const owner = node.State().owner;
  posecache::frameview view{nullptr, 0};
  if (owner != nullptr) {
    view = owner->Poses().At(frame, owner->Nodes().size());
    const posecache::entry& own = view.entries[node.State().index];
    if (own.stamp == view.stamp) {
      return own.world;
    }
  }
  ascent chain;
  affine world;
  for (const cnode* at = &node; at != nullptr; at = at->State().parent) {
    const nodestate& state = at->State();
    if (owner != nullptr && state.owner == owner && view.entries[state.index].stamp == view.stamp) {
      world = view.entries[state.index].world;
      break;
    }
    chain.Push(&state);
  }
  while (!chain.Empty()) {
    const nodestate& state = *chain.Pop();
    world = LocalAtFrame(state.track->State(), frame) * world;
    if (owner != nullptr && state.owner == owner) {
      view.entries[state.index] = {world, view.stamp};
      ++owner->Poses().evaluated;
    }
  }
  return world;
}

}  // namespace core
