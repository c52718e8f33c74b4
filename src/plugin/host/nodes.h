#pragma once

// Scene nodes. Objects are made by the CreateNew functions of plugin/host/scene.h and belong to
// the scene after Interface::AddToScene; until then the maker may Destroy them.
//
// A host derives the classes of its nodes from cbone, cmesh and cskin: Destroy is for it to
// override, and whatever else it overrides is what a module calls. Behind the private pointers
// (core::nodestate and the like) stands what the host's library wants: it defines these types in
// its own sources, and no module looks at them.

#include <cstdint>

#include "plugin/host/api.h"
#include "plugin/host/values.h"

class cmaterial;

namespace core {
struct nodeaccess;
struct nodestate;
struct trackstate;
struct meshstate;
struct skinstate;
}  // namespace core

// What GetType gives; any other value is a node that a module ignores.
inline constexpr int kNodeMesh = 2;
inline constexpr int kNodeBone = 4;
inline constexpr int kNodeSkin = 6;

// The one bit of GetFlags that a module looks at: a node with it is no bone for an exporter.
inline constexpr int kNodeFlagNoBone = 4;

// Part masks of GetTMAtFrame.
inline constexpr int kWholeTransform = 7;
inline constexpr int kRotationOnly = 2;

// The order of the virtual operations is part of the seam.
class CORE_API cnode {
 public:
  cnode(const cnode&) = delete;
  cnode& operator=(const cnode&) = delete;

  virtual void Destroy();
  virtual void SetName(const char* name);
  virtual const char* GetName();
  virtual int GetType();
  virtual int GetFlags();
  // The node's own box at the frame, in its local space; a skin's is that of the deformed skin.
  virtual int GetBBoxAtFrame(int frame, cpoint3& minimum, cpoint3& maximum);
  virtual cnode* GetParent();
  // Called on the parent. The second argument is always 1.
  virtual int AttachChild(cnode* child, int mode);
  virtual void SetMaterial(cmaterial* material);
  virtual cmaterial* GetMaterial();
  // World position, world rotation and world transform at the frame.
  virtual cpoint3 GetPosAtFrame(int frame);
  virtual cquat GetRotAtFrame(int frame);
  virtual cmatrix4 GetTMAtFrame(int frame, int mask);
  // Takes up the keys that were just set on the node's track.
  virtual void UpdateAnim();

  const core::nodestate& State() const { return *state_; }

 protected:
  explicit cnode(int type);
  ~cnode();
  static core::nodestate& StateOf(cnode& node) { return *node.state_; }

 private:
  core::nodestate* state_;
};

// A node's track of keys. Owned by its node.
class CORE_API canim {
 public:
  canim();
  ~canim();
  canim(const canim&) = delete;
  canim& operator=(const canim&) = delete;

  // Sets the one key of a node that has a single pose.
  void SetKey(const ckey& key);
  int SetNumKeys(int count, int mode);
  int SetKeyAt(int index, ckey& key, int mode);

  const core::trackstate& State() const { return *state_; }

 private:
  friend struct core::nodeaccess;
  core::trackstate* state_;
};

class CORE_API cbone : public cnode {
 public:
  cbone();
  canim anim;

 protected:
  ~cbone() = default;
};

class CORE_API cmesh : public cnode {
 public:
  cmesh();
  std::int32_t numFaces = 0;

  // 0: no room for the mesh; its content is empty then.
  int Allocate(int vertices, int textureVertices, int faces);
  int SetVert(int index, const cpoint3& position);
  // (u, v, 0)
  int SetTVert(int index, const cpoint3& coordinates);
  int SetFace(int index, const cface& face);
  // Gives every vertex one normal: the mean of the faces around the vertex's position whose
  // normals lie within the angle, in degrees, of the vertex's own faces.
  int AutoSmooth(float angle, int mode);

  int GetBBoxAtFrame(int frame, cpoint3& minimum, cpoint3& maximum) override;

  core::meshstate& Mesh() { return *mesh_; }
  const core::meshstate& Mesh() const { return *mesh_; }

 protected:
  ~cmesh();

 private:
  core::meshstate* mesh_;
};

class CORE_API cskin : public cnode {
 public:
  cskin();
  std::int32_t numFaces = 0;

  // Takes over the mesh's content, its material included; the mesh is left empty.
  int Init(cmesh* mesh);
  cpoint3 GetNormal(int vertex);
  void SetVertNumWeights(int vertex, int count);
  // Accepted in any order with SetVertNumWeights: the weights may come first.
  void SetVertWeight(int vertex, int index, const cskinweight& weight);
  int GetVertNumWeights(int vertex);
  int GetVertWeight(int vertex, int index, cskinweight& weight);

  int GetBBoxAtFrame(int frame, cpoint3& minimum, cpoint3& maximum) override;

  core::skinstate& Skin() { return *skin_; }
  const core::skinstate& Skin() const { return *skin_; }

 protected:
  ~cskin();

 private:
  core::skinstate* skin_;
};
