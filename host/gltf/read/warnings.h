#pragma once

#include <string>
#include <vector>

#include "gltf/read/document.h"
#include "gltf/read/plan.h"
#include "gltf/read/poses.h"

namespace gltf {

// The names that the document's nodes have in a scene: their own, that of their mesh, or one made
// from their number.
std::vector<std::string> NodeNames(const document& doc);

// What the surfaces of a scene lack.
struct surfacelosses {
  std::size_t numLoose = 0;    // vertices of skins that no joint moves
  std::vector<int> unmorphed;  // nodes whose morph targets change and were left still
};

// One line for each kind of thing that the scene leaves out, with how many there are and the
// first of them, or their names.
std::vector<std::string> LeftOut(const document& doc, const plan& nodes, const poselist& poses,
                                 const std::vector<std::string>& names, const surfacelosses& lost);

}  // namespace gltf
