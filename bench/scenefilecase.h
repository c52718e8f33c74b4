#pragma once

#include <string>

#include "baregltf.h"
#include "benchscene.h"
#include "core/scene.h"
#include "measure.h"

// One case of reading or writing a scene file, through the host's library or bare. The scene's
// skins are bound anew, so that one rest pose has all of a vertex's weights at one place, as models
// have it: the search for the best of many would be most of the time.
class scenefilecase {
 public:
  // Prepares what the run needs: the scene's file, or the arrays in it.
  scenefilecase(const core::scene& scene, const benchfile& file, measuredrun what);

  // What is measured. 1: success.
  int Run();
  // After a run: whether what it made is what its counterpart makes, both having the same nodes,
  // keys, vertices, faces and weights.
  bool Agrees();

 private:
  bool Read();
  bool Write();
  bool WriteUnnamed();

  const core::scene& scene_;
  std::string path_;
  std::string barePath_;
  measuredrun what_;
  core::scene read_;
  baremodel model_;
};
