#pragma once

#include <string>
#include <vector>

#include "core/scene.h"
#include "support/scenebuild.h"

// Scenes to be written, in the current scene.

// A walker as the games' files have them: ten bones in a tree, 31 frames from 0 in which every
// bone turns, and weights whose offsets come from a pose that is none of them, in which the figure
// stands 60 units high with its arms out. Up to four weights a vertex. Skins "body" and "arms".
struct figure {
  std::vector<cnode*> bones;
  std::vector<cmatrix4> binds;  // of the bones, into the world
  cskin* body;
  cskin* arms;
};
figure AddFigure();

// A skin of one row of triangles whose weights are taken from the bind pose given as world
// matrices of the bones: weights[v] are (bone, weight) pairs.
struct pull {
  std::size_t bone;
  float weight;
};
cskin* AddBoundSkin(const std::string& name, const std::vector<cpoint3>& places,
                    const std::vector<std::vector<pull>>& weights, const std::vector<cnode*>& bones,
                    const std::vector<cmatrix4>& binds);
