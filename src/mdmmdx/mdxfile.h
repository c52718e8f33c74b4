#pragma once

#include "mdmmdx/records.h"
#include "skeletal/modelfile.h"

// An mdx file with pointers into it. In a file that holds parents stand before their children.
class cmdxfile final : public cmodelfile, public skelrig {
 public:
  const mdxHeader* header = nullptr;

 private:
  bool ParseBlock() override;
};
