#pragma once

// The scene behind the static operations of plugin/host/scene.h, as the host's own programs see
// it: they make one, make it current for a module's run, and fill or read it themselves.

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "plugin/host/scene.h"

namespace core {

class posecache;
struct pixels;

// A stretch of the time line with a name: one animation of a scene file, one sequence of a model.
struct clip {
  std::string name;
  int start = 0;   // first frame
  int frames = 0;  // number of frames
  // The last two numbers of a sequence file's line: frames that the game repeats, and frames a
  // second; a rate of 0 is that of the time line.
  int loop = 0;
  int rate = 0;
};

class CORE_API scene {
 public:
  scene();
  ~scene();  // destroys the nodes and materials that the scene owns
  scene(const scene&) = delete;
  scene& operator=(const scene&) = delete;

  // The scene that Interface works on. There is none until one is made current.
  // Asking for it then is a failed assertion.
  static scene& Current();
  static scene* CurrentOrNull();
  static void MakeCurrent(scene* current);

  // Both take ownership at once, in the order of Interface::GetNodeAt and GetMaterialAt: when
  // there is no memory for the list, the object is destroyed before std::bad_alloc passes on.
  void Add(cnode* node);
  void Add(cmaterial* material);

  // Puts `made` in the place of a node of the scene, with its name, track, parent and children, and
  // destroys the old one.
  void Replace(cnode* old, cnode* made);

  // Takes over all nodes and materials of another scene, behind its own. Notes, clips, range and
  // frames' boxes stay behind.
  void Adopt(scene& other);

  const std::vector<cnode*>& Nodes() const { return nodes_; }
  const std::vector<cmaterial*>& Materials() const { return materials_; }

  int animStart = 0;
  int animEnd = 0;
  int animTime = 0;
  int ticksPerFrame = 50;  // of 1 ms: 20 frames a second
  std::string notes;
  std::vector<clip> clips;
  // The box of each frame from animStart on, minimum and maximum, where the file that the scene
  // came from has one. It was taken from vertices before they were cut to steps, and so tells more
  // than they do.
  using box = std::array<float, 6>;
  std::vector<box> frameBounds;
  // The images that were loaded from files while something has them, by whole path: a file that
  // many name is decoded once.
  std::unordered_map<std::string, std::weak_ptr<const pixels>> images;
  // What nodes that were added lacked, a line each.
  std::vector<std::string> warnings;

  // Poses evaluated so far, one for each node and frame that was not remembered.
  std::uint64_t PosesEvaluated() const;

  // Takes the object out of the lists without destroying it: for one that is being destroyed.
  void Forget(cnode* node);
  void Forget(cmaterial* material);
  posecache& Poses() { return *poses_; }

 private:
  std::unique_ptr<posecache> poses_;
  std::vector<cnode*> nodes_;
  std::vector<cmaterial*> materials_;
};

}  // namespace core
