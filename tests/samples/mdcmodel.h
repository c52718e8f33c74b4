#pragma once

#include <array>
#include <string>
#include <vector>

#include "samples/bytes.h"

// An mdc file of a test, written byte by byte. Lists per frame have numFrames entries.
struct mdcmodel {
  using steps = std::array<int, 3>;

  struct tag {
    std::string name;
    // Of each frame: the position in 1/64 units, and three angles in 1/65536 turns.
    std::vector<std::array<int, 6>> poses;
  };
  struct surface {
    std::string name;
    std::vector<std::string> shaders;
    std::vector<steps> triangles;
    std::vector<std::array<float, 2>> st;
    // Vertices of each base frame, each with its normal.
    std::vector<std::vector<std::array<int, 4>>> baseFrames;
    std::vector<std::vector<std::array<int, 4>>> compFrames;  // bytes of each compressed frame
    std::vector<int> baseByFrame;                             // of each frame
    std::vector<int> compByFrame;                             // of each frame; 0xFFFF for none
  };

  std::string ident = "IDPC";
  int version = 2;
  std::string name = "models/test.mdc";
  int numSkins = 0;
  // Of each frame: the box's corners, the origin and the radius.
  std::vector<std::array<float, 10>> frames;
  std::string frameName = "frame";
  std::vector<tag> tags;
  std::vector<surface> surfaces;

  bytes Write() const;
};

// Two frames with origins of their own, two tags, a surface of a triangle with a base frame of its
// own for each frame, and one of four vertices whose second frame is compressed, with two shaders.
mdcmodel SmallMdcModel();
