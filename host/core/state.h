#pragma once

// What stands behind the nodes, materials and images of plugin/host, for the host's own programs.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "core/affine.h"
#include "plugin/host/materials.h"
#include "plugin/host/nodes.h"

namespace core {

// A node that only carries a transform: an empty of a scene file.
inline constexpr int kNodeDummy = 1;

class CORE_API cdummy final : public cnode {
 public:
  cdummy();
  void Destroy() override;

 protected:
  ~cdummy() = default;
};

class scene;
struct deformer;

// Keys ascending by frame, relative to the parent. No keys: the identity.
struct trackstate {
  std::vector<ckey> keys;
};

struct nodestate {
  std::string name;
  int type = 0;
  int flags = 0;
  cnode* parent = nullptr;
  std::vector<cnode*> children;
  cmaterial* material = nullptr;
  canim* track = nullptr;  // never null once the node is made; a bone's is its public member
  std::unique_ptr<canim> ownTrack;  // of a node that is no bone
  scene* owner = nullptr;           // the scene that the node was added to
  int index = -1;                   // its place among the owner's nodes
  // Scale that changes over the frames, which a track's poses do not pass on to points: from frame
  // 0 on, what is applied to a mesh's vertices or to the offsets of a bone's weights before the
  // node's pose. Frames beyond the last have the last. Empty: none.
  std::vector<affine> stretches;
};

// Changes that a node's class has no operation for.
CORE_API void SetKeys(cnode& node, std::vector<ckey> keys);
CORE_API void SetStretches(cnode& node, std::vector<affine> stretches);
CORE_API void SetFlags(cnode& node, int flags);
// Leaves of a bone its pose alone: it is no bone any more for those who look for bones.
CORE_API void MakeDummy(cnode& bone);

// In place of the first vertex of a face that names vertices which its mesh does not have. Such
// faces are left out when the mesh comes into a scene.
inline constexpr std::int32_t kNoVertex = -2;

// A shape that a mesh blends to: how far each vertex's position, and its normal where the list is
// not empty, lies from that at rest, in the node's local space.
struct morphtarget {
  std::string name;
  std::vector<cpoint3> positions;
  std::vector<cpoint3> normals;
};

// How much of its targets a mesh has at each frame from 0 on; frames beyond the last have the last.
struct morphweights {
  struct entry {
    std::uint32_t target;
    float weight;
  };
  std::vector<entry> entries;       // weights that are not 0, frame by frame
  std::vector<std::size_t> starts;  // of each frame's entries, and the end

  int NumFrames() const { return static_cast<int>(starts.size()) - 1; }
  std::span<const entry> AtFrame(int frame) const {
    const auto f = static_cast<std::size_t>(std::clamp(frame, 0, NumFrames() - 1));
    return {entries.data() + starts[f], entries.data() + starts[f + 1]};
  }
};

// One normal for each vertex; one texture vertex for each vertex in what the importers make.
struct meshstate {
  std::vector<cpoint3> verts;
  std::vector<cpoint3> normals;
  std::vector<cpoint3> tverts;
  std::vector<cface> faces;
  std::vector<morphtarget> targets;
  // Null without targets. Shared by the surfaces of one node.
  std::shared_ptr<const morphweights> morph;
  // Of what the targets make: coordinates that lie near a multiple of it become that. 0: none.
  float grid = 0.0F;
};

// The coordinates moved to the multiples of the grid that they lie within a tenth of a step from.
inline cpoint3 OnGrid(cpoint3 point, float grid) {
  for (float* coordinate : {&point.x, &point.y, &point.z}) {
    const float steps = *coordinate / grid;
    const float whole = std::round(steps);
    if (std::abs(steps - whole) <= 0.1F) {
      *coordinate = whole * grid;
    }
  }
  return point;
}

// Weights of one vertex: a stretch of skinstate::weights.
struct skinstretch {
  std::size_t first = 0;
  std::uint32_t capacity = 0;  // entries that the stretch has
  std::uint32_t count = 0;     // entries that count as the vertex's weights
};

struct CORE_API skinstate {
  skinstate();
  ~skinstate();
  skinstate(const skinstate&) = delete;
  skinstate& operator=(const skinstate&) = delete;

  meshstate mesh;  // at rest, in the node's local space
  std::vector<skinstretch> stretches;
  std::vector<cskinweight> weights;
  // Into the space of a joint's offsets, for what targets add to the vertices at rest: the
  // linear part counts. A joint without an entry has the identity.
  struct displacement {
    const cnode* joint;
    affine toJoint;
  };
  std::vector<displacement> displacements;
  std::unique_ptr<deformer> prepared;  // made from the weights when a frame is first asked for
};

// The pixels as they were decoded, and the file's own bytes where it was a JPEG or PNG, so that
// a scene file gets them unchanged. Shared between copies of an image.
struct pixels {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> rgba;     // rows from the top; empty when nothing was decoded
  std::vector<std::uint8_t> encoded;  // whole JPEG or PNG file; may be empty
  std::string mimeType;               // of `encoded`
};

struct imagestate {
  std::string path;  // as given, empty too; "<empty>" until one is
  std::shared_ptr<const pixels> content;
};

// Bytes that a material's name buffer has behind the text, at least: what a unique name may add.
inline constexpr std::size_t kSpareNameBytes = 32;

struct materialstate {
  std::vector<char> name;  // zero-terminated, with kSpareNameBytes behind the text
  scene* owner = nullptr;  // the scene that the material was added to
  cimage image;
  float colour[4] = {1.0F, 1.0F, 1.0F, 1.0F};  // linear RGBA factor on the image
  bool doubleSided = false;
  std::string gamePath;  // as the games name the image; empty: the image's own path
};

}  // namespace core
