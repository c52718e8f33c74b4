#pragma once

// Makers of nodes in the current scene, and what tests say about points.

#include <gtest/gtest.h>

#include <array>
#include <initializer_list>
#include <vector>

#include "core/state.h"
#include "plugin/host/scene.h"

ckey KeyAt(int frame, const cpoint3& position, const cpoint3& angles = {},
           const cpoint3& scale = MakePt3(1.0F, 1.0F, 1.0F));

cbone* AddBone(const std::string& name, cnode* parent, const std::vector<ckey>& keys);
cnode* AddDummy(const std::string& name, cnode* parent, const std::vector<ckey>& keys);

using corners = std::array<int, 3>;

// A mesh whose texture vertex v is (v / 8, 1 - v / 8); not in the scene yet.
cmesh* MakeMesh(const std::string& name, const std::vector<cpoint3>& verts,
                const std::vector<corners>& triangles);
cmesh* AddMesh(const std::string& name, const std::vector<cpoint3>& verts,
               const std::vector<corners>& triangles);
// One triangle: (0, 0, 0), (1, 0, 0), (0, 2, 0), moved by `at`.
cmesh* AddTriangle(const std::string& name, const cpoint3& at = {});

// A skin whose vertices hang on one bone each with weight 1: offsets[v] from bones[v].
cskin* AddSkin(const std::string& name, const std::vector<cpoint3>& offsets,
               const std::vector<cnode*>& bones, const std::vector<corners>& triangles);

// A material of the scene whose colour image has the path; without a path it has no image.
cmaterial* AddMaterial(const std::string& name, const char* imagePath = nullptr);

void ExpectPoint(const cpoint3& actual, const cpoint3& expected, float tolerance);
