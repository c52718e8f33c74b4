#pragma once

#include <memory>
#include <new>

#include "plugin/host/nodes.h"

namespace gltf {

struct nodedestroy {
  void operator()(cnode* node) const { node->Destroy(); }
};

// A node that no scene owns yet.
template <class T>
using ownednode = std::unique_ptr<T, nodedestroy>;

// Null is what the CreateNew functions give when there is no memory.
template <class T>
ownednode<T> Owned(T* node) {
  if (node == nullptr) {
    throw std::bad_alloc();
  }
  return ownednode<T>(node);
}

}  // namespace gltf
