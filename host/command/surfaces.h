#pragma once

// The nodes of a scene that are the surfaces of a model, in the scene's order, which is that of the
// exporters and the importers. The scene keeps them.

#include <vector>

#include "core/scene.h"
#include "core/state.h"

namespace command {

// Of a skeletal model.
std::vector<cskin*> SkinsOf(const core::scene& scene);
// Of a model with frames of vertices: skins and meshes; and all that an importer brings in.
std::vector<cnode*> SurfacesOf(const core::scene& scene);

// The mesh of one of them; that of a skin is at rest.
const core::meshstate& MeshOf(cnode& surface);

}  // namespace command
