#pragma once

#include "core/state.h"

namespace core {

// The normals of cmesh::AutoSmooth, on the side from which a face's corners run clockwise. Faces
// count by their area; faces without area or with an index out of range do not count; a vertex
// without faces has (0, 0, 1).
CORE_API void SmoothNormals(meshstate& mesh, float angle);

// Gives each morph target without normals those by which its shape's smoothed normals differ from
// the smoothed ones of the mesh at rest.
CORE_API void SmoothTargets(meshstate& mesh, float angle);

}  // namespace core
