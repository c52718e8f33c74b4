#pragma once

// Reading of a glTF file as a program uses it: after it said yes, every surface is taken through
// some frames. True when the file was accepted.

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <numeric>

#include "core/scene.h"
#include "gltf/read/readscene.h"
#include "hostile/readers.h"

inline bool ReadGltf(const unsigned char* data, std::size_t size) {
  loadedfile file;
  file.data.reset(new unsigned char[size]);
  std::copy_n(data, size, file.data.get());
  file.size = static_cast<std::uint32_t>(size);
  // As for a skeletal model or as for one with frames of vertices, by what the file is.
  gltf::options how;
  how.keepMorphTargets = how.keepChangingScale = std::accumulate(data, data + size, 0U) % 2 == 1;
  how.grid = how.keepMorphTargets ? 1.0 / 64 : 0.0;
  core::scene scene;
  gltf::report told;
  if (!gltf::ReadLoaded(std::move(file), "none/none.gltf", how, scene, told)) {
    return false;
  }
  float sum = 0.0F;
  for (const int frame : {0, scene.animEnd / 2, scene.animEnd}) {
    for (cnode* node : scene.Nodes()) {
      cpoint3 low;
      cpoint3 high;
      node->GetBBoxAtFrame(frame, low, high);
      sum += high.x + node->GetPosAtFrame(frame).x;
    }
  }
  readSum = sum;
  return true;
}
