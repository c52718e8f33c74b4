#include "mds/mdsfile.h"

bool cmdsfile::ParseBlock() {
  header = ParseHeader<mdsHeader>(kMdsIdent, kMdsVersion);
  if (header == nullptr) {
    return false;
  }
  vertexSize = sizeof(mdsVertex);
  if (!ParseRig(*this, header->numBones, header->ofsBones, header->numFrames, header->ofsFrames) ||
      !ParseMesh(*this, header->numSurfaces, header->ofsSurfaces, kMdsSurfaceIdent, numBones)) {
    return false;
  }
  tags = block_.Records<mdsTag>(header->ofsTags, header->numTags);
  return tags != nullptr || Refuse("the tags do not lie inside the file (numTags, ofsTags)");
}
