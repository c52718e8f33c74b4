#include "mdmmdx/mdxfile.h"

bool cmdxfile::ParseBlock() {
  header = ParseHeader<mdxHeader>(kMdxIdent, kMdxVersion);
  if (header == nullptr) {
    return false;
  }
  if (header->numFrames == 0) {
    return Refuse("numFrames is 0: a skeleton has at least 1 frame");
  }
  return ParseRig(*this, header->numBones, header->ofsBones, header->numFrames, header->ofsFrames);
}
