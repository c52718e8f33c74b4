#pragma once

// Each reader as an importer uses it: it takes the block, and after it said yes everything that it
// promises is read. True when the file was accepted. The fuzz targets run the same functions.

#include <cstddef>

#include "mdc/mdcfile.h"

// What was read flows into here, so that no compiler leaves the reading out.
inline volatile float readSum = 0.0F;

inline bool ReadMdc(const unsigned char* data, std::size_t size) {
  cmdcfile file;
  if (!file.Parse({data, size})) {
    return false;
  }
  float sum = 0.0F;
  for (int f = 0; f < file.header->numFrames; ++f) {
    for (const cmdctagentry& tag : file.tagTable) {
      sum += file.TagPosition(tag, f)[0] + cmdcfile::TagAngles(tag, f)[2] + (*tag.name)[63];
    }
    for (const cmdcsurfentry& entry : file.surfaces) {
      for (int v = 0; v < entry.surface->numVerts; ++v) {
        sum += file.VertexPosition(entry, f, v)[0] + entry.st[v][1];
      }
    }
  }
  for (const cmdcsurfentry& entry : file.surfaces) {
    for (int t = 0; t < entry.surface->numTriangles; ++t) {
      sum += entry.st[entry.triangles[t][2]][0];
    }
    for (int k = 0; k < entry.surface->numShaders; ++k) {
      sum += entry.shaders[k].name[63];
    }
  }
  readSum = sum;
  return true;
}
