#include "mdmmdx/mdmfile.h"

#include <limits>

#include "mdmmdx/mdxfile.h"

bool cmdmfile::ParseBlock() {
  header = ParseHeader<mdmHeader>(kMdmIdent, kMdmVersion);
  if (header == nullptr) {
    return false;
  }
  vertexSize = sizeof(mdmVertex);
  return ParseMesh(*this, header->numSurfaces, header->ofsSurfaces, kMdmSurfaceIdent,
                   std::numeric_limits<std::int32_t>::max()) &&
         ParseTags();
}

bool cmdmfile::ParseTags() {
  // Each tag takes at least its record, so their number is bound by the file's size.
  const std::int32_t numTags = header->numTags;
  std::int64_t offset = header->ofsTags;
  if (numTags < 0 || offset < 0 ||
      numTags > block_.Size() / static_cast<std::int64_t>(sizeof(mdmTag))) {
    return Refuse("the tags do not lie inside the file (numTags, ofsTags)");
  }
  tags.reserve(static_cast<std::size_t>(numTags));
  for (std::int32_t t = 0; t < numTags; ++t) {
    const auto* tag = block_.Records<mdmTag>(offset);
    if (tag == nullptr) {
      return Refuse("tag " + std::to_string(t) + " does not lie inside the file");
    }
    // From the last tag nothing is stepped to.
    if (t + 1 < numTags && tag->ofsEnd < static_cast<std::int32_t>(sizeof(mdmTag))) {
      return Refuse("tag " + std::to_string(t) + ": ofsEnd is smaller than the tag's record");
    }
    tags.push_back(tag);
    offset += tag->ofsEnd;
  }
  return true;
}

bool cmdmfile::FitsTo(const cmdxfile& skeleton, std::string& fault) const {
  for (std::size_t s = 0; s < surfaces.size(); ++s) {
    cvertexwalk walk = Vertices(surfaces[s]);
    for (std::int32_t v = 0; v < surfaces[s].surface->numVerts; ++v, walk.Next()) {
      for (std::int32_t w = 0; w < walk.Vertex().numWeights; ++w) {
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
