#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "samples/bytes.h"

// A glTF document of a test: its JSON as the test puts it together, and one buffer, which comes
// before those that the JSON has.
class gltfmodel {
 public:
  gltfmodel();

  nlohmann::json doc;

  // Each gives the place in its list. A node without a parent is put into the scene.
  int Node(nlohmann::json node, int parent = -1);
  int Accessor(const std::string& type, int componentType, const bytes& content);
  int Floats(const std::string& type, const std::vector<float>& values);
  int Bytes(const std::string& type, const std::vector<int>& values);
  int Shorts(const std::string& type, const std::vector<int>& values);
  // A mesh of one primitive.
  int Mesh(nlohmann::json primitive);
  // A mesh of one triangle with these corners.
  int Triangle(const std::vector<float>& corners = {0, 0, 0, 1, 0, 0, 0, 1, 0});
  // A channel with its sampler, added to the animation at the index, which may be new.
  void Channel(std::size_t animation, int node, const std::string& path,
               const std::vector<float>& times, const std::vector<float>& values,
               const std::string& interpolation = "LINEAR");
  int View(const bytes& content);

  nlohmann::json& Accessors() { return doc["accessors"]; }

  bytes Binary() const;  // as a .glb
  // As a .gltf whose buffer is the content of `uri`, or of a data URI where that is empty.
  std::string Text(const std::string& uri = "") const;
  const bytes& Buffer() const { return buffer_; }

 private:
  nlohmann::json BuffersWith(nlohmann::json own) const;

  bytes buffer_;
};

// A PNG file of one pixel.
bytes OnePixelPng();

// Everything that a reader looks at, small: a scaled skeleton, a skin, a mesh on a joint, a strip,
// sparse values, clips of every interpolation, a textured material, notes.
gltfmodel SmallGltf();
