#pragma once

#include "mds/records.h"
#include "skeletal/modelfile.h"

// An mds file with pointers into it. In a file that holds parents stand before their children, and
// a weight names a bone of the list or -1.
class cmdsfile final : public cmodelfile, public skelrig, public skelmesh {
 public:
  const mdsHeader* header = nullptr;
  // The tags, which no import follows. None where they do not lie inside the file, and their
  // boneIndex is not tested.
  std::int32_t numTags = 0;
  const mdsTag* tags = nullptr;

 private:
  bool ParseBlock() override;
};
