#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "core/lanes.h"
#include "core/scene.h"
#include "core/state.h"

// What the bare loops of the exports share: joints posed from their keys and vertices skinned by
// them, in single precision.
namespace bare {

using core::float4;

// Rows of four for points as row vectors.
struct matrix {
  float4 row[4];
};

inline float4 Times(float4 p, const matrix& m) {
  return p[0] * m.row[0] + p[1] * m.row[1] + p[2] * m.row[2] + p[3] * m.row[3];
}

struct joint {
  std::string name;
  std::size_t parent;  // its own index: none
  std::vector<ckey> keys;
};

struct box {
  float4 low;
  float4 high;

  float LongestEdge() const;
};

struct skin {
  std::size_t NumVerts() const { return starts.size() - 1; }

  float4 Skinned(std::size_t v, const matrix* posed) const {
    float4 sum = float4{};
    for (std::uint32_t i = starts[v]; i < starts[v + 1]; ++i) {
      sum += Times(offsets[i], posed[joints[i]]);
    }
    return sum;
  }

  std::string name;
  const core::skinstate* source;      // of the scene
  std::vector<std::uint32_t> starts;  // of each vertex's weights, and the end
  std::vector<std::uint32_t> joints;
  std::vector<float4> offsets;  // times the weight, and the weight
};

struct model {
  std::vector<joint> joints;  // parents before their children
  std::vector<skin> skins;
  std::size_t numFrames = 0;

  // The joints' world matrices at the frame, into an array of so many.
  void PoseInto(matrix* posed, std::size_t frame) const;
  // Of all skinned vertices.
  box BoxOf(const matrix* posed) const;
};

// Takes joints and skins out of the scene: bones with a key for each frame, parents before their
// children, and skins that stand at the origin.
model ModelOf(const core::scene& scene);

// The bytes of a file, appended.
class output {
 public:
  explicit output(const std::string& path) : file_(std::fopen(path.c_str(), "wb")) {}
  ~output();
  output(const output&) = delete;
  output& operator=(const output&) = delete;

  template <class T>
  void Put(const std::vector<T>& values) {
    PutBytes(values.data(), sizeof(T) * values.size());
  }
  std::size_t Written() const { return written_; }

 private:
  void PutBytes(const void* bytes, std::size_t size);

  std::FILE* file_;
  std::size_t written_ = 0;
};

template <class T>
std::int32_t Bytes(const std::vector<T>& values) {
  return static_cast<std::int32_t>(sizeof(T) * values.size());
}

}  // namespace bare
