#pragma once

#include <array>
#include <string>
#include <vector>

#include "samples/bytes.h"

// A skeletal model of a test, written byte by byte in each of the formats.
struct skelmodel {
  using triple = std::array<float, 3>;

  struct bone {
    std::string name;
    int parent = -1;
    float parentDist = 0.0F;
  };
  struct frame {
    triple parentOffset{};
    // Of each bone: pitch, yaw, roll and 0; then pitch and yaw of the direction from the parent.
    std::vector<std::array<int, 6>> bones;
  };
  struct weight {
    int bone;
    float share;
    triple offset;
  };
  struct vertex {
    std::array<float, 2> st;
    std::vector<weight> weights;
  };
  struct surface {
    std::string name;
    std::vector<vertex> verts;
    std::vector<std::array<int, 3>> triangles;
  };
  struct tag {
    std::string name;
    int bone;
    triple offset;
    std::array<triple, 3> axis{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
  };

  std::string name = "test";
  float lodScale = 1.0F;
  float lodBias = 0.0F;
  std::vector<bone> bones;
  std::vector<frame> frames;
  std::vector<surface> surfaces;
  std::vector<tag> tags;

  // The mds file's tags are bones of its list.
  bytes WriteMds() const;
  bytes WriteMdm() const;
  bytes WriteMdx() const;
};

// A chain of three bones in five frames that all differ, a surface with weights of two bones, one
// on a single bone, and two tags.
skelmodel SmallSkelModel();

// Its mdm file with its mdx file behind it.
bytes SmallSkelPair();
