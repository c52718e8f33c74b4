#pragma once

#include <memory>

#include "plugin/host/scene.h"

// Scene objects that a run has made and the scene does not own yet: destroyed when the run ends
// before it hands them over.
struct destroynode {
  void operator()(cnode* node) const { node->Destroy(); }
};
struct deletematerial {
  void operator()(cmaterial* material) const { material->Delete(); }
};

template <class Node>
using ownednode = std::unique_ptr<Node, destroynode>;
using ownedmaterial = std::unique_ptr<cmaterial, deletematerial>;

// Hands the object to the scene, which owns it from the call on: it destroys it itself when it
// finds no room for it.
template <class Node>
Node* HandOver(ownednode<Node> node) {
  Node* const handed = node.release();
  Interface::AddToScene(handed, 0);
  return handed;
}
