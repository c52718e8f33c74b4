#pragma once

#include <string>
#include <vector>

#include "gltf/gltf.h"
#include "gltf/read/plan.h"
#include "gltf/read/sampling.h"

namespace gltf {

// A node without its scale. Its world transform of the file is scale x pose, in the scene's axes
// and units: the pose is rigid and has the node's place, the scale is the same at all times and
// goes into the points that hang from the node.
struct nodepose {
  core::affine scale;
  // Of each frame, for a node that turns below a scale of unequal axes, or whose scale changes
  // where that is kept: the scale in place of `scale`. The nodes below stand where the file has
  // them. Points follow it where changing scale is kept, and `scale` is the identity then;
  // otherwise they keep `scale`.
  std::vector<core::affine> bent;
  core::affine local;      // the whole of the node's own transform at rest
  double factor = 1.0;     // where the scale is the same along all axes; 0 where it is not
  core::affine rest;       // the pose in the world when no clip runs
  std::vector<ckey> keys;  // relative to the parent's pose; one for a node that keeps still
};

struct poselist {
  std::vector<nodepose> nodes;  // of the document
  // Nodes whose scale changes during a clip and was left as it is at rest.
  std::vector<int> scaled;
  std::vector<int> bent;  // nodes that turn below a scale of unequal axes, which left their points
};

// Throws badfile.
poselist MakePoses(const document& doc, const plan& nodes, const timeline& line, const options& how,
                   valuereader& values);

}  // namespace gltf
