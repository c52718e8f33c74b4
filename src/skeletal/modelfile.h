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
  void Next() {
    at_ += vertexSize_ + sizeof(skelWeight) * static_cast<std::size_t>(Vertex().numWeights);
  }

 private:
  const unsigned char* at_;
  std::size_t vertexSize_;
};

struct skelsurfentry {
  const skelSurface* surface = nullptr;
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
  // numFrames entries, but none in a file without bones that counts frames and has no room for
  // them: without bones nothing of a frame is read.
  std::vector<const skelFrame*> frames;

  // The poses of all bones in a frame.
  static const skelBoneFrame* BoneFrames(const skelFrame* frame) {
    return reinterpret_cast<const skelBoneFrame*>(frame + 1);
  }
};

// A model file held whole in memory. After Load or Parse gave true everything that its tables
// reach lies inside the file, and no index in it leads outside its list.
class cmodelfile {
 public:
  cmodelfile(const cmodelfile&) = delete;
  cmodelfile& operator=(const cmodelfile&) = delete;

  // Reads the file and builds the tables. False when it cannot be read or does not hold.
  bool Load(const char* path);
  // The same for a block that the caller keeps alive.
  bool Parse(fileview block);

  std::uint32_t Size() const { return static_cast<std::uint32_t>(block_.Size()); }
  // What does not hold, and where, after Load or Parse gave false; empty when the file could not
  // be read at all.
  const std::string& Fault() const { return fault_; }

 protected:
  cmodelfile() = default;
  ~cmodelfile() = default;

  virtual bool ParseBlock() = 0;

  // The header, if it has the ident and the version; null otherwise.
  template <class Header>
  const Header* ParseHeader(const char (&ident)[4], std::int32_t version) {
    const auto* header = block_.Records<Header>(0);
    if (header == nullptr) {
      Refuse("the header does not fit into the file");
    } else if (std::memcmp(header->ident.data(), ident, sizeof ident) != 0) {
      Refuse("ident is not " + std::string(ident, sizeof ident));
    } else if (header->version != version) {
      Refuse("version is " + std::to_string(header->version) + ": only " + std::to_string(version) +
             " can be read");
    } else {
      return header;
    }
    return nullptr;
  }
  bool ParseRig(skelrig& rig, std::int32_t numBones, std::int32_t ofsBones, std::int32_t numFrames,
                std::int32_t ofsFrames);
  // A weight's bone is -1 or lies below boneLimit. mesh.vertexSize is set.
  bool ParseMesh(skelmesh& mesh, std::int32_t numSurfaces, std::int32_t ofsSurfaces,
                 std::int32_t surfaceIdent, std::int32_t boneLimit);
  bool Refuse(std::string fault);

  fileview block_;

 private:
  bool ParseSurface(skelmesh& mesh, std::int64_t offset, std::int32_t surfaceIdent,
                    std::int32_t boneLimit, std::int64_t& vertexBytesLeft);

  loadedfile data_;
  std::string fault_;
};

// "surface 2", for a fault.
std::string SurfacePlace(std::size_t index);
