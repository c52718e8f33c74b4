#pragma once

// What the skeletal formats' files have in common once they are loaded and checked: a mesh, a
// skeleton with its frames, and the reader that checks both.

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "binary/loadfile.h"
#include "skeletal/records.h"

// A surface's vertices one behind the other, each with its weights directly behind it.
class cvertexwalk {
 public:
  cvertexwalk(const skelVertex* first, std::size_t vertexSize)
      : at_(reinterpret_cast<const unsigned char*>(first)), vertexSize_(vertexSize) {}

  const skelVertex& Vertex() const { return *reinterpret_cast<const skelVertex*>(at_); }
  const skelWeight* Weights() const {
    return reinterpret_cast<const skelWeight*>(at_ + vertexSize_);
  }
  std::int32_t NumWeights() const { return CountOf(Vertex().numWeights); }
  void Next() { at_ += vertexSize_ + sizeof(skelWeight) * static_cast<std::size_t>(NumWeights()); }

 private:
  const unsigned char* at_;
  std::size_t vertexSize_;
};

struct skelsurfentry {
  const skelSurface* surface = nullptr;
  // The surface's counts; 0 for a negative one.
  std::int32_t numVerts = 0;
  std::int32_t numTriangles = 0;
  // A list without entries is null. A triangle may name vertices that there are not.
  const skelTriangle* triangles = nullptr;
  // The first vertex; the others can only be walked to.
  const skelVertex* verts = nullptr;
};

struct skelmesh {
  std::vector<skelsurfentry> surfaces;
  // Bytes of a vertex before its weights.
  std::size_t vertexSize = 0;

  cvertexwalk Vertices(const skelsurfentry& entry) const { return {entry.verts, vertexSize}; }
};

struct skelrig {
  std::int32_t numBones = 0;
  const skelBoneInfo* bones = nullptr;
  std::int32_t numFrames = 0;
  // numFrames entries; none without bones, since nothing of a frame is read then.
  std::vector<const skelFrame*> frames;

  // The bone's parent, which stands before it; -1 for none and for one outside the list.
  std::int32_t Parent(std::size_t bone) const {
    const std::int32_t parent = bones[bone].parent;
    return parent >= 0 && parent < numBones ? parent : -1;
  }
  // Whether the pose of the first frame can be had.
  bool HasFirstFrame() const { return numBones == 0 || !frames.empty(); }

  // The poses of all bones in a frame.
  static const skelBoneFrame* BoneFrames(const skelFrame* frame) {
    return reinterpret_cast<const skelBoneFrame*>(frame + 1);
  }
};

// A model file held whole in memory. After Load or Parse gave true everything that its tables
// reach lies inside the file, and no weight's bone leads outside the list.
class cmodelfile {
 public:
  cmodelfile(const cmodelfile&) = delete;
  cmodelfile& operator=(const cmodelfile&) = delete;

  // Reads the file and builds the tables. False when it cannot be read or does not hold.
  bool Load(const char* path);
  // The same for a block that the caller keeps alive.
  bool Parse(fileview block);

  std::uint32_t Size() const { return static_cast<std::uint32_t>(block_.Size()); }
  // Points `list` to numbers that lie `offset` bytes behind the start of a record of the file, as
  // fileview::List does.
  bool Numbers(const void* record, std::int32_t offset, std::int32_t count,
               const little<std::int32_t>*& list) const {
    const auto start = static_cast<const unsigned char*>(record) - block_.Data();
    return block_.List(std::int64_t{start} + offset, count, list);
  }
  // What does not hold, and where, after Load or Parse gave false; empty when the file could not
  // be read at all. The header and the tables are there as far as they could be read.
  const std::string& Fault() const { return fault_; }

 protected:
  cmodelfile() = default;
  ~cmodelfile() = default;

  virtual bool ParseBlock() = 0;

  // Sets the header where there is one. False unless it has the ident and the version.
  template <class Header>
  bool ParseHeader(const Header*& header, const char (&ident)[4], std::int32_t version) {
    header = block_.Records<Header>(0);
    if (header == nullptr) {
      return Refuse("the header does not fit into the file");
    }
    if (std::memcmp(header->ident.data(), ident, sizeof ident) != 0) {
      return Refuse("ident is not " + std::string(ident, sizeof ident));
    }
    return header->version == version ||
           Refuse("version is " + std::to_string(header->version) + ": only " +
                  std::to_string(version) + " can be read");
  }
  bool ParseRig(skelrig& rig, std::int32_t numBones, std::int32_t ofsBones, std::int32_t numFrames,
                std::int32_t ofsFrames);
  // A weight's bone is -1 or lies below boneLimit. mesh.vertexSize is set.
  bool ParseMesh(skelmesh& mesh, std::int32_t numSurfaces, std::int32_t ofsSurfaces,
                 std::int32_t surfaceIdent, std::int32_t boneLimit);
  bool Refuse(const std::string& fault);

  fileview block_;

 private:
  bool ParseSurface(skelmesh& mesh, std::int64_t offset, std::int32_t surfaceIdent,
                    std::int32_t boneLimit, claimlimit& limit);
  bool ParseVertices(const skelsurfentry& entry, std::int64_t ofsVerts, std::int64_t vertexSize,
                     std::int32_t boneLimit, std::size_t surface, claimlimit& limit);

  loadedfile data_;
  std::string fault_;
};

// "surface 2", for a fault.
std::string SurfacePlace(std::size_t index);
