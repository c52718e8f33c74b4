#include "mds/mdsfile.h"

bool cmdsfile::ParseBlock() {
  if (!ParseHeader(header, kMdsIdent, kMdsVersion)) {
    return false;
  }
  vertexSize = sizeof(mdsVertex);
  numTags = CountOf(header->numTags);
  if (!block_.List(header->ofsTags, numTags, tags)) {
    numTags = 0;
  }
  const bool rigHolds =
      ParseRig(*this, header->numBones, header->ofsBones, header->numFrames, header->ofsFrames);
  return ParseMesh(*this, header->numSurfaces, header->ofsSurfaces, kMdsSurfaceIdent,
                   CountOf(header->numBones)) &&
         rigHolds;
}
