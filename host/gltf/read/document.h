#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "binary/fileview.h"
#include "binary/loadfile.h"
#include "core/affine.h"

// A glTF document as a scene is made from it. Every index was checked against its list, -1 stands
// for none; what accessors and views reach is checked when they are read. Numbers are the file's
// own: its axes, its units, seconds.

namespace gltf {

// The place of an index in its list.
inline std::size_t At(int index) { return static_cast<std::size_t>(index); }

struct filebuffer {
  std::string uri;                    // empty: the binary chunk
  std::int64_t length = 0;            // that the document promises
  fileview content;                   // at least as long once the resources are loaded
  loadedfile file;                    // owner of the content of a file beside the document
  std::vector<std::uint8_t> decoded;  // owner of the content of a data URI, or of what was unpacked
  bool isFallback = false;            // for readers that cannot decompress
  bool isUnpacked = false;            // no part of the file
};

enum class packing { Attributes, Triangles, Indices };
enum class packfilter { None, Octahedral, Quaternion, Exponential };

// Where the compressed form of a buffer view lies, and what it holds: stride and mode fit each
// other, and count x stride is the view's length.
struct packedview {
  int buffer = -1;  // none: the view is not compressed
  std::int64_t offset = 0;
  std::int64_t length = 0;
  std::int64_t stride = 0;
  std::int64_t count = 0;
  packing mode = packing::Attributes;
  packfilter filter = packfilter::None;
};

struct bufferview {
  int buffer = -1;
  std::int64_t offset = 0;
  std::int64_t length = 0;
  std::int64_t stride = 0;  // 0: elements stand close together
  packedview packed;
};

// The numbers that files have for the types of components.
enum class component {
  Int8 = 5120,
  Uint8 = 5121,
  Int16 = 5122,
  Uint16 = 5123,
  Uint32 = 5125,
  Float = 5126
};

enum class shape { Scalar, Vec2, Vec3, Vec4, Mat2, Mat3, Mat4 };

struct sparsevalues {
  std::int64_t count = 0;
  int indexView = -1;
  std::int64_t indexOffset = 0;
  component indexType = component::Uint32;
  int valueView = -1;
  std::int64_t valueOffset = 0;
};

struct accessor {
  int view = -1;  // none: all zero
  std::int64_t offset = 0;
  std::int64_t count = 0;
  component type = component::Float;
  shape form = shape::Scalar;
  bool normalized = false;
  sparsevalues sparse;
};

struct image {
  std::string name;
  std::string uri;
  int view = -1;
};

// What a texture coordinate becomes: scaled, rotated about the origin, moved.
struct texturetransform {
  std::array<double, 2> scale{1.0, 1.0};
  double rotation = 0.0;  // radians, counter-clockwise on the image
  std::array<double, 2> offset{0.0, 0.0};
};

struct material {
  std::string name;
  std::string gamePath;
  std::array<float, 4> colour{1.0F, 1.0F, 1.0F, 1.0F};
  bool doubleSided = false;
  bool hasTexture = false;  // of the base colour
  int image = -1;           // of that texture, where its format is one that every reader knows
  std::string texCoords = "TEXCOORD_0";  // attribute that it takes its coordinates from
  std::optional<texturetransform> coordinates;
};

enum class primitivemode { Points, Lines, LineLoop, LineStrip, Triangles, Strip, Fan };

// Accessors of a morph target's displacements.
struct morph {
  int positions = -1;
  int normals = -1;
};

// The compressed form of a primitive's triangles.
struct packedmesh {
  int view = -1;                                 // none: the primitive is not compressed
  std::vector<std::pair<std::string, int>> ids;  // of attributes' lists in it
};

struct primitive {
  std::map<std::string, int> attributes;  // accessors
  int indices = -1;
  int material = -1;
  primitivemode mode = primitivemode::Triangles;
  std::vector<morph> targets;
  packedmesh packed;
  std::string place;

  int Attribute(const std::string& name) const {
    const auto found = attributes.find(name);
    return found == attributes.end() ? -1 : found->second;
  }
};

struct mesh {
  std::string name;
  std::vector<primitive> primitives;
  std::vector<double> weights;  // of the targets; empty: all 0
  std::vector<std::string> targetNames;

  std::size_t NumTargets() const {
    return primitives.empty() ? 0 : primitives.front().targets.size();
  }
};

struct transform {
  core::vec3 translation;
  cquat rotation;
  core::vec3 scale{1.0, 1.0, 1.0};
};

struct node {
  std::string name;
  int parent = -1;
  std::vector<int> children;
  int mesh = -1;
  int skin = -1;
  bool hasCamera = false;
  bool hasLight = false;
  bool isBone = false;          // by what its maker keeps with it
  std::vector<double> weights;  // of the mesh's targets; empty: the mesh's own
  std::unique_ptr<const core::affine> matrix;
  transform local;  // of a node without a matrix
};

struct skin {
  std::vector<int> joints;
  int inverseBind = -1;  // accessor; none: identities
};

enum class interpolation { Linear, Step, Cubic };

struct sampler {
  int input = -1;
  int output = -1;
  interpolation mode = interpolation::Linear;
  int animation = 0;  // its place in the file
  int number = 0;     // among the animation's samplers

  // For a message. Not kept as a text, since there are thousands of samplers and few messages.
  std::string Place() const {
    return "animation " + std::to_string(animation) + ", sampler " + std::to_string(number);
  }
};

enum class target { Translation, Rotation, Scale, Weights };

struct channel {
  int sampler = -1;
  int node = -1;
  target path = target::Translation;
};

struct animation {
  std::string name;
  std::vector<sampler> samplers;
  std::vector<channel> channels;  // those that move a node or a mesh's targets
  std::vector<int> timing;        // samplers of all its channels
};

struct document {
  loadedfile file;
  fileview text;    // JSON
  fileview binary;  // the binary chunk; empty without one
  std::vector<filebuffer> buffers;
  std::vector<bufferview> views;
  std::vector<accessor> accessors;
  std::vector<image> images;
  std::vector<material> materials;
  std::vector<mesh> meshes;
  std::vector<node> nodes;
  std::vector<int> roots;  // of the default scene
  std::vector<skin> skins;
  std::vector<animation> animations;
  std::string notes;
  std::vector<std::array<float, 6>> frameBounds;

  // What is there and is left out before it comes into the lists above.
  bool hasOtherAnimation = false;
  bool hasInstances = false;
  std::size_t numOtherTextures = 0;  // that no material has for its colour

  // Size of the file with all its buffers, which room is measured by.
  std::int64_t Bytes() const;
};

// What the file says, without the files beside it. Throws badfile.
document ParseDocument(loadedfile file);

}  // namespace gltf
