#pragma once

// The scene behind the static operations of plugin/host/scene.h, as the host's own programs see
// it: they make one, make it current for a module's run, and fill or read it themselves.

#include <memory>
#include <string>
#include <vector>

#include "plugin/host/scene.h"

namespace core {

// A stretch of the time line with a name: one animation of a scene file, one sequence of a model.
struct clip {
  std::string name;
  int start = 0;   // first frame
  int frames = 0;  // number of frames
};

class CORE_API scene {
 public:
  scene();
  ~scene();  // destroys the nodes and materials that the scene owns
  scene(const scene&) = delete;
  scene& operator=(const scene&) = delete;

  // The scene that Interface works on. There is none until one is made current.
  static scene& Current();
  static void MakeCurrent(scene* current);

  // Both take ownership, in the order of Interface::GetNodeAt and GetMaterialAt.
  void Add(cnode* node);
  void Add(cmaterial* material);

  const std::vector<cnode*>& Nodes() const { return nodes_; }
  const std::vector<cmaterial*>& Materials() const { return materials_; }

  int animStart = 0;
  int animEnd = 0;
  int animTime = 0;
  int ticksPerFrame = 50;  // of 1 ms: 20 frames a second
  std::string notes;
  std::vector<clip> clips;

  // Forgets the poses that were evaluated; whoever changes a track or a parent calls it.
  void Invalidate();

 private:
  friend class ::cnode;
  std::vector<cnode*> nodes_;
  std::vector<cmaterial*> materials_;
};

}  // namespace core
