#pragma once

#include "mdmmdx/records.h"
#include "skeletal/modelfile.h"

class cmdxfile;

// An mdm file with pointers into it. The bones that it names are those of an mdx file of the
// user's choice, so they are only known to be -1 or not negative until FitsTo gave true.
class cmdmfile final : public cmodelfile, public skelmesh {
 public:
  const mdmHeader* header = nullptr;
  // A tag's boneIndex may be anything: outside the bone list the tag has no parent.
  std::vector<const mdmTag*> tags;

  // Whether every weight's bone is -1 or one of the skeleton's; otherwise `fault` says which is
  // not, and where.
  bool FitsTo(const cmdxfile& skeleton, std::string& fault) const;

 private:
  bool ParseBlock() override;
  bool ParseTags();
};
