#pragma once

#include <memory>

#include "plugin/host/scene.h"

// Scene objects that a run has made and the scene does not own yet: destroyed when the run ends
// before it hands them over with release().
struct destroynode {
  void operator()(cnode* node) const { node->Destroy(); }
};
struct deletematerial {
  void operator()(cmaterial* material) const { material->Delete(); }
};

template <class Node>
using ownednode = std::unique_ptr<Node, destroynode>;
using ownedmaterial = std::unique_ptr<cmaterial, deletematerial>;
