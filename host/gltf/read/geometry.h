#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "gltf/read/document.h"
#include "gltf/read/values.h"

namespace gltf {

// A primitive as the file has it: its axes, its units, flat lists.
struct geometry {
  std::size_t count = 0;           // vertices
  std::vector<float> positions;    // three for each vertex
  std::vector<float> normals;      // three; empty without them
  std::vector<float> coordinates;  // two; empty without them
  std::vector<std::array<std::uint32_t, 3>> faces;
  // Sets of four joints, by their places in the skin, and their weights: four for each vertex.
  std::vector<std::vector<std::uint32_t>> joints;
  std::vector<std::vector<float>> weights;
};

// `coordinates` is the attribute to take as texture coordinates. The vertices keep their number
// and order, except that a primitive that uses less than half of the vertices it shares with
// others gets only those that it uses. Throws badfile.
geometry ReadGeometry(const document& doc, const primitive& part, const std::string& coordinates,
                      bool skinned, bool shared, valuereader& values);

}  // namespace gltf
