#pragma once

#include "mds/records.h"
#include "skeletal/modelfile.h"

// An mds file with pointers into it. A file that holds has at least one frame if it has bones;
// parents stand before their children; a weight names a bone of the list or -1.
class cmdsfile final : public cmodelfile, public skelrig, public skelmesh {
 public:
  const mdsHeader* header = nullptr;
  // numTags records. Their boneIndex is not tested.
  const mdsTag* tags = nullptr;

 private:
  bool ParseBlock() override;
};
