#pragma once

// What stands behind the nodes, materials and images of plugin/host, for the host's own programs.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "plugin/host/materials.h"
#include "plugin/host/nodes.h"

namespace core {

// A node that only carries a transform: an empty of a scene file.
inline constexpr int kNodeDummy = 1;

class CORE_API cdummy : public cnode {
 public:
  cdummy();
  void Destroy() override;

 protected:
  ~cdummy() = default;
};

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
};

// One normal for each vertex; one texture vertex for each vertex in what the importers make.
struct meshstate {
  std::vector<cpoint3> verts;
  std::vector<cpoint3> normals;
  std::vector<cpoint3> tverts;
  std::vector<cface> faces;
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
  std::string path;  // as given, "<empty>" for none
  std::shared_ptr<const pixels> content;
};

struct materialstate {
  std::vector<char> name;  // zero-terminated, with room for a unique name
  cimage image;
  float colour[4] = {1.0F, 1.0F, 1.0F, 1.0F};  // linear RGBA factor on the image
  bool doubleSided = false;
};

}  // namespace core
