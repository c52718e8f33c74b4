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

// One line for each kind of thing that the scene leaves out, with how many there are and the
// first of them. numLoose is the number of vertices of skins that no joint moves.
std::vector<std::string> LeftOut(const document& doc, const plan& nodes, const poselist& poses,
                                 const std::vector<std::string>& names, std::size_t numLoose);

}  // namespace gltf
