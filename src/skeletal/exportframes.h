#pragma once

#include <vector>

#include "binary/filewriter.h"
#include "sampling/exportrange.h"
#include "skeletal/bonelist.h"

class cprogress;

// A skeleton with its animation, as it goes to a file. Empty in a scene without bones.
struct expskeleton {
  std::vector<expbone> Bones;
  std::vector<skelFrame> Frames;
  // The bones' poses, frame by frame.
  std::vector<skelBoneFrame> poses;
};

// Fills the skeleton. Lengths of bones are those of scene frame 0, whatever the range. `source` is
// the source file that the host's assertion is told of.
void CalcFrames(const bonelist& list, const exportrange& range, const char* source,
                cprogress& progress, expskeleton& skeleton);

// The section of frames and the section of bones of a file.
void WriteFrames(filewriter& file, const expskeleton& skeleton);
void WriteBones(filewriter& file, const expskeleton& skeleton);
