#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "gltf/read/document.h"
#include "gltf/read/values.h"

namespace gltf {

// A primitive as the file has it: its axes, its units, flat lists.
// Displacements of a morph target: three for each vertex; empty where it has none.
struct targetvalues {
  std::vector<float> positions;
  std::vector<float> normals;
};

struct geometry {
  std::size_t count = 0;           // vertices
  std::vector<float> positions;    // three for each vertex
  std::vector<float> normals;      // three; empty without them
  std::vector<float> coordinates;  // two; empty without them
  std::vector<std::array<std::uint32_t, 3>> faces;
  // Sets of four joints, by their places in the skin, and their weights: four for each vertex.
  std::vector<std::vector<std::uint32_t>> joints;
  std::vector<std::vector<float>> weights;
  std::vector<targetvalues> targets;
};

struct wantedparts {
  std::string coordinates;  // the attribute to take as texture coordinates
  bool joints = false;
  bool targets = false;
  bool usedOnly = false;  // see below
};

// The vertices keep their number and order, except that with `usedOnly` a primitive that uses less
// than half of them gets only those that it uses. Throws badfile.
geometry ReadGeometry(const document& doc, const primitive& part, const wantedparts& wanted,
                      valuereader& values);

}  // namespace gltf
