#include "mdmmdx/mdmfile.h"

#include <limits>

#include "mdmmdx/mdxfile.h"

bool cmdmfile::ParseBlock() {
  if (!ParseHeader(header, kMdmIdent, kMdmVersion)) {
    return false;
  }
  vertexSize = sizeof(mdmVertex);
  const bool meshHolds = ParseMesh(*this, header->numSurfaces, header->ofsSurfaces,
                                   kMdmSurfaceIdent, std::numeric_limits<std::int32_t>::max());
  return ParseTags() && meshHolds;
}

bool cmdmfile::ParseTags() {
  claimlimit limit(block_);
  std::int64_t offset = header->ofsTags;
  for (std::int32_t t = 0; t < header->numTags; ++t) {
    const auto* tag = block_.Records<mdmTag>(offset);
    if (tag == nullptr) {
      return Refuse("tag " + std::to_string(t) + " does not lie inside the file");
    }
    if (!limit.Claim(sizeof(mdmTag))) {
      return Refuse("tag " + std::to_string(t) + ": the tags so far share blocks for more than " +
                    "a scene takes");
    }
    tags.push_back(tag);
    // Tags may lie in any order, so that a step may lead back.
    offset += tag->ofsEnd;
  }
  return true;
}

bool cmdmfile::FitsTo(const cmdxfile& skeleton, std::string& fault) const {
  for (std::size_t s = 0; s < surfaces.size(); ++s) {
    cvertexwalk walk = Vertices(surfaces[s]);
    for (std::int32_t v = 0; v < surfaces[s].numVerts; ++v, walk.Next()) {
      for (std::int32_t w = 0; w < walk.NumWeights(); ++w) {
        const std::int32_t bone = walk.Weights()[w].boneIndex;
        if (bone >= skeleton.numBones) {
          fault = SurfacePlace(s) + ": vertex " + std::to_string(v) + " names bone " +
                  std::to_string(bone) + " of a skeleton with " + std::to_string(skeleton.numBones);
          return false;
        }
      }
    }
  }
  return true;
}
