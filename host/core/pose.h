#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/affine.h"
#include "core/state.h"

namespace core {

// The node's world transform at the frame: local x parent's world. Remembered by the scene that
// the node belongs to.
CORE_API affine WorldAtFrame(const cnode& node, int frame);

// The poses of a scene's nodes that were evaluated. A slot holds one frame; frames share slots
// when there are more of them than memory is meant for, and then the latest frame stays.
class posecache {
 public:
  struct entry {
    affine world;
    std::uint64_t stamp = 0;
  };

  // The entries of a frame, by node index; those whose stamp is the one given are known.
  struct frameview {
    entry* entries;
    std::uint64_t stamp;
  };
  frameview At(int frame, std::size_t numNodes);

  std::uint64_t evaluated = 0;

 private:
  struct slot {
    std::unique_ptr<entry[]> entries;
    int frame = 0;
    std::uint64_t change = 0;  // Changes() that the poses belong to
    std::uint64_t stamp = 0;   // 0: never used
  };

  std::vector<slot> slots_;
  std::size_t capacity_ = 0;  // entries a slot
  std::uint64_t lastStamp_ = 0;
};

}  // namespace core
