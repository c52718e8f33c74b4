#include "core/pose.h"

#include <algorithm>
#include <array>

#include "core/changes.h"
#include "core/scene.h"
#include "core/track.h"

namespace core {

namespace {

// Bytes of poses that a scene remembers, about. The first fits a processor's caches and does for
// frames that come one after the other; the second is for callers that keep coming back.
constexpr std::size_t kFirstBytes = std::size_t{2} << 20;
constexpr std::size_t kMostBytes = std::size_t{256} << 20;
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

affine Evaluate(const cnode& node, int frame, posecache::frameview* view) {
  scene* const owner = node.State().owner;
  ascent chain;
  affine world;
  for (const cnode* at = &node; at != nullptr; at = at->State().parent) {
    const nodestate& state = at->State();
    if (view != nullptr && state.owner == owner) {
      if (const affine* known = view->Known(state.index); known != nullptr) {
        world = *known;
        break;
      }
    }
    chain.Push(&state);
  }
  while (!chain.Empty()) {
    const nodestate& state = *chain.Pop();
    world = LocalAtFrame(state.track->State(), frame) * world;
    if (view != nullptr && state.owner == owner) {
      view->Remember(state.index, world);
      ++owner->Poses().evaluated;
    }
  }
  return world;
}

}  // namespace

void posecache::TurnTo(int frame, std::size_t numNodes) {
  latestChange_ = 0;
  if (numNodes > capacity_) {
    // A scene that still grows while poses are asked for does not start over at each node.
    const std::size_t capacity = std::max(numNodes, 2 * capacity_);
    slots_.clear();
    capacity_ = capacity;
  }
  if (change_ != Changes()) {
    change_ = Changes();
    turns_ = 0;
    firstFrame_ = frame;
    lastFrame_ = frame;
  }
  firstFrame_ = std::min(firstFrame_, frame);
  lastFrame_ = std::max(lastFrame_, frame);
  slot& place = SlotOf(frame);
  if (!place.worlds) {
    place.stamps = std::make_unique<std::uint64_t[]>(capacity_);
    place.worlds.reset(new std::byte[capacity_ * sizeof(affine)]);
  }
  if (place.frame != frame || place.change != change_) {
    place.frame = frame;
    place.change = change_;
    place.stamp = ++lastStamp_;
    ++turns_;
  }
  latest_ = {reinterpret_cast<affine*>(place.worlds.get()), place.stamps.get(), place.stamp};
  latestFrame_ = frame;
  latestChange_ = change_;
}

posecache::slot& posecache::SlotOf(int frame) {
  const std::int64_t span = std::int64_t{lastFrame_} - firstFrame_ + 1;
  const std::size_t bytes = turns_ > 2 * span ? kMostBytes : kFirstBytes;
  const std::size_t most = std::clamp(
      bytes / (capacity_ * (sizeof(affine) + sizeof(std::uint64_t))), std::size_t{2}, kMostSlots);
  if (const auto wanted = static_cast<std::size_t>(span); slots_.size() < std::min(wanted, most)) {
    slots_.resize(std::min(std::max(wanted, 2 * slots_.size()), most));
  }
  const auto count = static_cast<int>(slots_.size());
  const int rest = frame % count;
  return slots_[static_cast<std::size_t>(rest < 0 ? rest + count : rest)];
}

affine WorldAtFrame(const cnode& node, int frame) {
  const nodestate& state = node.State();
  if (state.owner == nullptr) {
    return Evaluate(node, frame, nullptr);
  }
  posecache::frameview& view = state.owner->Poses().At(frame, state.owner->Nodes().size());
  const affine* const known = view.Known(state.index);
  return known != nullptr ? *known : Evaluate(node, frame, &view);
}

}  // namespace core
