#pragma once

// Each reader as an importer uses it: it takes the block, and after it said yes everything that it
// promises is read. True when the file was accepted. The fuzz targets run the same functions.

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "mdc/mdcfile.h"
#include "mdmmdx/mdmfile.h"
#include "mdmmdx/mdxfile.h"
#include "mds/mdsfile.h"

// What was read flows into here, so that no compiler leaves the reading out.
inline volatile float readSum = 0.0F;

// `use` reads all that the file has and gives a number that depends on it.
template <class File>
bool ReadAs(const unsigned char* data, std::size_t size, float (*use)(const File& file)) {
  File file;
  const bool good = file.Parse({data, size});
  readSum = good ? use(file) : 0.0F;
  return good;
}

inline float SumOf(const cmdcfile& file) {
  float sum = 0.0F;
  for (int f = 0; f < file.header->numFrames; ++f) {
    if (std::string fault; !file.HoldsFrame(f, fault)) {
      continue;
    }
    for (const cmdctagentry& tag : file.tagTable) {
      sum += file.TagPosition(tag, f)[0] + cmdcfile::TagAngles(tag, f)[2] + (*tag.name)[63];
    }
    for (const cmdcsurfentry& entry : file.surfaces) {
      for (int v = 0; v < entry.numVerts; ++v) {
        sum += file.VertexPosition(entry, f, v)[0] + entry.st[v][1];
      }
      for (int t = 0; t < entry.numTriangles; ++t) {
        sum += static_cast<float>(entry.triangles[t][2]);
      }
      for (int k = 0; k < entry.numShaders; ++k) {
        sum += entry.shaders[k].name[63];
      }
    }
  }
  return sum;
}

inline bool ReadMdc(const unsigned char* data, std::size_t size) {
  return ReadAs<cmdcfile>(data, size, SumOf);
}

inline float SumOf(const skelmesh& mesh, std::int32_t numBones) {
  float sum = 0.0F;
  const std::vector<float> poses(static_cast<std::size_t>(numBones), 1.0F);
  for (const skelsurfentry& entry : mesh.surfaces) {
    cvertexwalk walk = mesh.Vertices(entry);
    for (std::int32_t v = 0; v < entry.numVerts; ++v, walk.Next()) {
      sum += walk.Vertex().texCoords[0];
      for (std::int32_t w = 0; w < walk.NumWeights(); ++w) {
        const std::int32_t bone = walk.Weights()[w].boneIndex;
        sum += bone < 0 ? 0.0F : poses[static_cast<std::size_t>(bone)];
      }
    }
    for (std::int32_t t = 0; t < entry.numTriangles; ++t) {
      sum += static_cast<float>(entry.triangles[t][2]);
    }
  }
  return sum;
}

inline float SumOf(const skelrig& rig) {
  float sum = 0.0F;
  std::vector<float> poses(static_cast<std::size_t>(rig.numBones));
  for (const skelFrame* frame : rig.frames) {
    for (std::size_t b = 0; b < poses.size(); ++b) {
      const std::int32_t parent = rig.Parent(b);
      poses[b] =
          parent < 0 ? float{frame->parentOffset[2]} : poses[static_cast<std::size_t>(parent)];
      sum += poses[b] + static_cast<float>(skelrig::BoneFrames(frame)[b].ofsAngles[1]);
    }
  }
  return sum;
}

inline bool ReadMds(const unsigned char* data, std::size_t size) {
  return ReadAs<cmdsfile>(data, size, [](const cmdsfile& file) {
    float sum = SumOf(static_cast<const skelrig&>(file)) + SumOf(file, file.numBones);
    for (std::int32_t t = 0; t < file.numTags; ++t) {
      sum += file.tags[t].name[63];
    }
    return sum;
  });
}

inline bool ReadMdx(const unsigned char* data, std::size_t size) {
  return ReadAs<cmdxfile>(data, size, [](const cmdxfile& file) { return SumOf(file); });
}

// With the skeleton that the rest of the block is, or the mesh alone where it is none.
inline bool ReadMdm(const unsigned char* data, std::size_t size) {
  cmdmfile file;
  if (!file.Parse({data, size})) {
    return false;
  }
  for (const mdmTag* tag : file.tags) {
    readSum = tag->offset[2] + tag->name[63];
  }
  cmdxfile skeleton;
  const auto end = static_cast<std::size_t>(std::max<std::int32_t>(file.header->ofsEnd, 0));
  std::string fault;
  if (end < size && skeleton.Parse({data + end, size - end}) && file.FitsTo(skeleton, fault)) {
    readSum = SumOf(file, skeleton.numBones);
  }
  return true;
}
