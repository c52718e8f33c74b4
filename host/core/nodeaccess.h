#pragma once

#include "core/state.h"

namespace core {

// The way in for the library's own sources, which know what a change makes stale. Programs change
// nodes by their operations and by those of core/state.h.
struct nodeaccess : cnode {
  static nodestate& Of(cnode& node) { return StateOf(node); }
  static trackstate& Of(canim& track) { return *track.state_; }

  // For the constructors of nodes that have no track as a member.
  static void MakeTrack(cnode& node) {
    Of(node).ownTrack = std::make_unique<canim>();
    Of(node).track = Of(node).ownTrack.get();
  }

 protected:
  ~nodeaccess() = default;
};

}  // namespace core
