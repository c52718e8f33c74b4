#pragma once

#include <vector>

#include "plugin/host/values.h"

class cnode;

// The origin point of a file: the position at scene frame 0 of the first node, in scene order,
// whose name equals `name` to the letter; (0, 0, 0) for an empty name or one that no node has.
cpoint3 CalcOrigin(const char* name);

// The nodes that have a surface: meshes and skins, in scene order.
std::vector<cnode*> SurfaceNodes();

struct framebox {
  cpoint3 minimum;
  cpoint3 maximum;
  // The longest edge of the box at its full length.
  float radius = 0.0F;
};

// The world box of the nodes at a scene frame, relative to the origin point. Without any node it
// keeps its start values: minimum 100000 and maximum -100000 on every axis.
framebox MeasureFrame(const std::vector<cnode*>& nodes, int frame, const cpoint3& origin);
