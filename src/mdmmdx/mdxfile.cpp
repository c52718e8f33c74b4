#include "mdmmdx/mdxfile.h"

bool cmdxfile::ParseBlock() {
  return ParseHeader(header, kMdxIdent, kMdxVersion) &&
         ParseRig(*this, header->numBones, header->ofsBones, header->numFrames, header->ofsFrames);
}
