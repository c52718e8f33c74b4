#include "bareexport.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "core/lanes.h"
#include "core/state.h"
#include "mdc/mdcfile.h"

namespace {

using core::float4;

// Rows of four for points as row vectors.
struct matrix {
  float4 row[4];
};

constexpr matrix kIdentity = {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};

float4 Times(float4 p, const matrix& m) {
  return p[0] * m.row[0] + p[1] * m.row[1] + p[2] * m.row[2] + p[3] * m.row[3];
}

matrix Local(const ckey& key) {
  const auto [x, y, z, w] = std::array{key.rot.x, key.rot.y, key.rot.z, key.rot.w};
  return {{float4{1 - 2 * (y * y + z * z), 2 * (x * y + w * z), 2 * (x * z - w * y), 0},
           float4{2 * (x * y - w * z), 1 - 2 * (x * x + z * z), 2 * (y * z + w * x), 0},
           float4{2 * (x * z + w * y), 2 * (y * z - w * x), 1 - 2 * (x * x + y * y), 0},
           float4{key.pos.x, key.pos.y, key.pos.z, 1}}};
}

struct joint {
  std::size_t parent;  // its own index: none
  std::vector<ckey> keys;
};

struct surface {
  std::vector<std::uint32_t> starts;  // of each vertex's weights, and the end
  std::vector<std::uint32_t> joints;
  std::vector<float4> offsets;  // times the weight, and the weight
  std::vector<mdcTriangle> triangles;
  std::vector<mdcSt> st;
  matrix world = kIdentity;

  std::size_t NumVerts() const { return starts.size() - 1; }

  float4 Skinned(std::size_t v, const matrix* posed) const {
    float4 sum = float4{};
    for (std::uint32_t i = starts[v]; i < starts[v + 1]; ++i) {
      sum += Times(offsets[i], posed[joints[i]]);
    }
    return sum;
  }
};

std::array<little<float>, 3> Stored(float4 p) { return {p[0], p[1], p[2]}; }

mdcFrame BoxOf(const std::vector<surface>& surfaces, const matrix* posed) {
  constexpr float kFar = std::numeric_limits<float>::infinity();
  float4 low = float4{kFar, kFar, kFar, kFar};
  float4 high = -low;
  for (const surface& each : surfaces) {
    for (std::size_t v = 0; v < each.NumVerts(); ++v) {
      const float4 p = each.Skinned(v, posed);
      low = core::Least(p, low);
      high = core::Largest(p, high);
    }
  }
  const float4 edges = high - low;
  mdcFrame frame{};
  frame.bounds = {Stored(low), Stored(high)};
  frame.radius = std::max({edges[0], edges[1], edges[2]});
  return frame;
}

std::vector<mdcXyzNormal> Quantised(const surface& from, const std::vector<matrix>& posed,
                                    std::size_t numJoints) {
  const std::size_t numFrames = posed.size() / numJoints;
  std::vector<mdcXyzNormal> made(from.NumVerts() * numFrames);
  mdcXyzNormal* out = made.data();
  for (std::size_t f = 0; f < numFrames; ++f) {
    for (std::size_t v = 0; v < from.NumVerts(); ++v, ++out) {
      const float4 p = Times(from.Skinned(v, &posed[f * numJoints]), from.world) * kMdcStepsPerUnit;
      for (std::size_t c = 0; c < 3; ++c) {
        out->xyz[c] = static_cast<std::int16_t>(static_cast<std::int32_t>(p[c]));
      }
    }
  }
  return made;
}

// The bytes of a file, appended.
class output {
 public:
  explicit output(const std::string& path) : file_(std::fopen(path.c_str(), "wb")) {}
  ~output() {
    if (file_ != nullptr) {
      std::fclose(file_);
    }
  }
  output(const output&) = delete;
  output& operator=(const output&) = delete;

  template <class T>
  void Put(const std::vector<T>& values) {
    written_ +=
        file_ != nullptr ? std::fwrite(values.data(), 1, sizeof(T) * values.size(), file_) : 0;
  }
  std::size_t Written() const { return written_; }

 private:
  std::FILE* file_;
  std::size_t written_ = 0;
};

template <class T>
std::int32_t Bytes(const std::vector<T>& values) {
  return static_cast<std::int32_t>(sizeof(T) * values.size());
}

mdcSurface HeaderOf(const surface& from, std::int32_t numFrames, std::int32_t size) {
  mdcSurface header{};
  header.ident = kMdcSurfaceIdent;
  header.numBaseFrames = numFrames;
  header.numVerts = static_cast<std::int32_t>(from.NumVerts());
  header.numTriangles = static_cast<std::int32_t>(from.triangles.size());
  std::int32_t at = sizeof header;
  header.ofsShaders = header.ofsTriangles = at;
  header.ofsSt = at += Bytes(from.triangles);
  header.ofsFrameBaseFrames = at += Bytes(from.st);
  header.ofsFrameCompFrames = at += 2 * numFrames;
  header.ofsXyzNormals = at += 2 * numFrames;
  header.ofsXyzCompressed = header.ofsEnd = at + size;
  return header;
}

}  // namespace

struct bareexport::model {
  std::vector<joint> joints;
  std::vector<surface> surfaces;
  std::size_t numFrames = 0;

  void AddSkin(const core::skinstate& skin,
               const std::unordered_map<const cnode*, std::uint32_t>& indices) {
    surface& made = surfaces.emplace_back();
    for (const core::skinstretch& stretch : skin.stretches) {
      made.starts.push_back(static_cast<std::uint32_t>(made.joints.size()));
      for (std::uint32_t i = 0; i < stretch.count; ++i) {
        const cskinweight& in = skin.weights[stretch.first + i];
        made.joints.push_back(indices.at(in.bone));
        made.offsets.push_back(in.weight * float4{in.offset.x, in.offset.y, in.offset.z, 1.0F});
      }
    }
    made.starts.push_back(static_cast<std::uint32_t>(made.joints.size()));
    for (const cface& face : skin.mesh.faces) {
      made.triangles.push_back({face.v[0], face.v[1], face.v[2]});
    }
    for (const cpoint3& t : skin.mesh.tverts) {
      made.st.push_back({t.x, t.y});
    }
  }

  std::vector<matrix> Posed() const {
    std::vector<matrix> made(numFrames * joints.size());
    matrix* frame = made.data();
    for (std::size_t f = 0; f < numFrames; ++f, frame += joints.size()) {
      for (std::size_t j = 0; j < joints.size(); ++j) {
        frame[j] = Local(joints[j].keys[f]);
        if (joints[j].parent != j) {
          for (float4& row : frame[j].row) {
            row = Times(row, frame[joints[j].parent]);
          }
        }
      }
    }
    return made;
  }
};

bareexport::bareexport(const core::scene& scene) {
  auto made = std::make_shared<model>();
  std::unordered_map<const cnode*, std::uint32_t> indices;
  for (const cnode* node : scene.Nodes()) {
    if (node->State().type == kNodeBone) {
      const auto index = static_cast<std::uint32_t>(made->joints.size());
      const cnode* parent = node->State().parent;
      indices.emplace(node, index);
      made->joints.push_back(
          {parent == nullptr ? index : indices.at(parent), node->State().track->State().keys});
    }
  }
  made->numFrames = static_cast<std::size_t>(scene.animEnd) + 1;
  for (cnode* node : scene.Nodes()) {
    if (node->State().type == kNodeSkin) {
      made->AddSkin(static_cast<cskin*>(node)->Skin(), indices);
    }
  }
  model_ = std::move(made);
}

bareexport::~bareexport() = default;

std::size_t bareexport::Write(const std::string& path) const {
  const std::vector<matrix> posed = model_->Posed();
  const std::size_t numJoints = model_->joints.size();
  std::vector<mdcFrame> frames;
  frames.reserve(model_->numFrames);
  for (std::size_t f = 0; f < model_->numFrames; ++f) {
    frames.push_back(BoxOf(model_->surfaces, &posed[f * numJoints]));
  }
  std::vector<std::vector<mdcXyzNormal>> vertices;
  for (const surface& each : model_->surfaces) {
    vertices.push_back(Quantised(each, posed, numJoints));
  }

  std::vector<mdcHeader> header(1);
  std::ranges::copy(kMdcIdent, header[0].ident.begin());
  header[0].version = kMdcVersion;
  header[0].numFrames = static_cast<std::int32_t>(frames.size());
  header[0].numSurfaces = static_cast<std::int32_t>(vertices.size());
  header[0].ofsFrames = sizeof(mdcHeader);
  header[0].ofsTagNames = header[0].ofsTags = header[0].ofsSurfaces =
      static_cast<std::int32_t>(sizeof(mdcHeader)) + Bytes(frames);
  std::vector<little<std::uint16_t>> baseFrames;
  for (std::size_t f = 0; f < frames.size(); ++f) {
    baseFrames.emplace_back(static_cast<std::uint16_t>(f));
  }
  const std::vector<little<std::uint16_t>> compFrames(frames.size(), kMdcNoCompressedFrame);
  output out(path);
  out.Put(header);
  out.Put(frames);
  for (std::size_t s = 0; s < vertices.size(); ++s) {
    const surface& each = model_->surfaces[s];
    out.Put(std::vector{HeaderOf(each, header[0].numFrames, Bytes(vertices[s]))});
    out.Put(each.triangles);
    out.Put(each.st);
    out.Put(baseFrames);
    out.Put(compFrames);
    out.Put(vertices[s]);
  }
  return out.Written();
}

int StepsApart(const std::string& a, const std::string& b) {
  cmdcfile one;
  cmdcfile other;
  if (!one.Load(a.c_str()) || !other.Load(b.c_str()) ||
      one.surfaces.size() != other.surfaces.size() ||
      std::int32_t{one.header->numFrames} != other.header->numFrames) {
    return -1;
  }
  int most = 0;
  for (std::size_t s = 0; s < one.surfaces.size(); ++s) {
    if (one.surfaces[s].numVerts != other.surfaces[s].numVerts) {
      return -1;
    }
    for (std::size_t f = 0; f < one.surfaces[s].baseByFrame.size(); ++f) {
      for (std::int32_t v = 0; v < one.surfaces[s].numVerts; ++v) {
        for (std::size_t c = 0; c < 3; ++c) {
          most = std::max(most, std::abs(one.surfaces[s].baseByFrame[f][v].xyz[c] -
                                         other.surfaces[s].baseByFrame[f][v].xyz[c]));
        }
      }
    }
  }
  return most;
}
