#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The least that reading a glTF file into a scene has to do, and writing one from it: the JSON by
// RapidJSON, and each accessor copied between the file and the arrays that a scene is made of, with
// strides and component types, normalized numbers as floats. No host, no checks, no other axes, no
// sampling, no bind pose: what the time of reading and writing a scene is measured against.
//
// Files are good binary ones as the host writes them for the benchmark's scene: one primitive a
// mesh, one clip at most, one set of joints and weights a vertex, no morph targets, no images.

struct barekey {
  std::int32_t frame = 0;
  std::array<float, 3> translation{};
  std::array<float, 4> rotation{0.0F, 0.0F, 0.0F, 1.0F};
  std::array<float, 3> scale{1.0F, 1.0F, 1.0F};

  bool operator==(const barekey&) const = default;
};

struct barenode {
  std::string name;
  std::vector<int> children;
  int mesh = -1;
  int skin = -1;
  bool bone = false;
  std::vector<barekey> keys;  // of the node at rest alone, or one for each frame

  bool operator==(const barenode&) const = default;
};

struct baremesh {
  std::string name;
  std::vector<std::array<float, 3>> positions;
  std::vector<std::array<float, 3>> normals;
  std::vector<std::array<float, 2>> coordinates;
  std::vector<std::array<std::uint32_t, 3>> faces;
  std::vector<std::array<std::uint32_t, 4>> joints;  // by their places in the skin
  std::vector<std::array<float, 4>> weights;

  bool operator==(const baremesh&) const = default;
};

struct bareskin {
  std::vector<int> joints;
  std::vector<std::array<float, 16>> inverseBinds;  // empty: identities

  bool operator==(const bareskin&) const = default;
};

// What moves a part of a node over the clip.
struct barechannel {
  int node = -1;
  std::string path;
  bool constant = false;  // one key in place of one for each frame

  bool operator==(const barechannel&) const = default;
};

struct baremodel {
  std::vector<barenode> nodes;
  std::vector<int> roots;
  std::vector<baremesh> meshes;
  std::vector<bareskin> skins;
  std::string clip;
  std::vector<float> times;
  std::vector<barechannel> channels;

  bool operator==(const baremodel&) const = default;
};

// Ends the program with a message when the file cannot be read.
baremodel ReadBareGltf(const std::string& path);

// Gives the number of bytes written.
std::size_t WriteBareGltf(const baremodel& model, const std::string& path);
