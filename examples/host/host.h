#pragma once

// The whole of this host beside the classes and operations that plugin/host declares: one scene.

#include <memory>
#include <string>
#include <vector>

#include "plugin/host/scene.h"

// What stands behind the private pointers of plugin/host is for the host to say.
namespace core {

struct trackstate {
  std::vector<ckey> keys;  // ascending by frame
};

struct nodestate {
  int type = 0;
  std::string name;
  cnode* parent = nullptr;
  cmaterial* material = nullptr;
  canim* track = nullptr;  // of a bone; the other nodes stand still
};

struct meshstate {
  std::vector<cpoint3> verts;
  std::vector<cpoint3> tverts;
  std::vector<cface> faces;
  std::vector<cpoint3> normals;  // one for each vertex
};

struct skinstate {
  meshstate mesh;
  struct vertex {
    std::vector<cskinweight> weights;
    int count = 0;
  };
  std::vector<vertex> verts;
};

struct imagestate {
  std::string path;
};

struct materialstate {
  // A module rewrites the name in its buffer.
  char name[64] = {};
  cimage image;
};

}  // namespace core

struct hostscene {
  std::vector<cnode*> nodes;
  std::vector<cmaterial*> materials;
  std::string notes;
  int animStart = 0;
  int animEnd = 0;

  // Destroys what the scene owns and empties it.
  CORE_API void Clear();
};
CORE_API hostscene& Scene();

// Where the skin's vertices are at the frame, in the skin's own space.
CORE_API std::vector<cpoint3> Deformed(cskin& skin, int frame);
// The smallest box around the points; (0, 0, 0) twice without any.
void BoxOf(const std::vector<cpoint3>& points, cpoint3& minimum, cpoint3& maximum);

cpoint3 Cross(const cpoint3& a, const cpoint3& b);
cmatrix4 MatrixOf(const cquat& rotation, const cpoint3& position, const cpoint3& scale);
