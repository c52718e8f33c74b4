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
    std::vector<steps> positions;  // of each frame, in 1/64 units
    std::vector<steps> angles;     // in 1/65536 turns
  };
  struct surface {
    std::string name;
    std::vector<std::string> shaders;
    std::vector<steps> triangles;
    std::vector<std::array<float, 2>> st;
    std::vector<std::vector<steps>> baseFrames;               // vertices of each base frame
    std::vector<std::vector<std::array<int, 4>>> compFrames;  // bytes of each compressed frame
    std::vector<int> baseByFrame;                             // of each frame
    std::vector<int> compByFrame;                             // of each frame; 0xFFFF for none
  };

  std::string ident = "IDPC";
  int version = 2;
  std::string name = "models/test.mdc";
  int numSkins = 0;
  std::vector<std::array<float, 3>> origins;  // of each frame
  std::vector<tag> tags;
  std::vector<surface> surfaces;

  bytes Write() const;
};

// Two frames with origins of their own, two tags, a surface of a triangle with a base frame of its
// own for each frame, and one of four vertices whose second frame is compressed, with two shaders.
mdcmodel SmallMdcModel();
