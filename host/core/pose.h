#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "core/affine.h"
#include "core/changes.h"
#include "core/state.h"

namespace core {

// The node's world transform at the frame: local x parent's world. Remembered by the scene that
// the node belongs to.
CORE_API affine WorldAtFrame(const cnode& node, int frame);

// The poses of a scene's nodes that were evaluated. A slot holds one frame; frames share slots
// when there are more of them than memory is meant for, and then the latest frame stays. A caller
// that goes through the frames once or twice needs few slots, so more are made only after that.
class posecache {
 public:
  // The poses of a frame, by node index. Storage of a pose has no value until it is evaluated:
  // giving it one would write the memory of all frames a second time.
  class frameview {
   public:
    frameview() = default;
    frameview(affine* worlds, std::uint64_t* stamps, std::uint64_t stamp)
        : worlds_(worlds), stamps_(stamps), stamp_(stamp) {}

    // Null: not evaluated.
    const affine* Known(int index) const {
      const auto i = static_cast<std::size_t>(index);
      return stamps_[i] == stamp_ ? &worlds_[i] : nullptr;
    }
    void Remember(int index, const affine& world) {
      const auto i = static_cast<std::size_t>(index);
      std::construct_at(&worlds_[i], world);
      stamps_[i] = stamp_;
    }

   private:
    affine* worlds_ = nullptr;
    std::uint64_t* stamps_ = nullptr;
    std::uint64_t stamp_ = 0;
  };

  // Valid until the next call.
  frameview& At(int frame, std::size_t numNodes) {
    if (frame != latestFrame_ || latestChange_ != Changes() || numNodes > capacity_) {
      TurnTo(frame, numNodes);
    }
    return latest_;
  }

  std::uint64_t evaluated = 0;

 private:
  struct slot {
    std::unique_ptr<std::byte[]> worlds;
    std::unique_ptr<std::uint64_t[]> stamps;
    int frame = 0;
    std::uint64_t change = 0;  // Changes() that the poses belong to; 0: never used
    std::uint64_t stamp = 0;
  };

  void TurnTo(int frame, std::size_t numNodes);
  slot& SlotOf(int frame);

  std::vector<slot> slots_;
  std::size_t capacity_ = 0;  // nodes a slot
  std::uint64_t lastStamp_ = 0;
  // Since the latest change: how often a slot was given to a frame, the first and the last frame.
  std::uint64_t change_ = 0;
  std::int64_t turns_ = 0;
  int firstFrame_ = 0;
  int lastFrame_ = 0;
  frameview latest_;
  int latestFrame_ = 0;
  std::uint64_t latestChange_ = 0;
};

}  // namespace core
