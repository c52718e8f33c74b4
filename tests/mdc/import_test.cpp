// The mdc importer through the loaded module, on files written byte by byte.

#include "samples/mdcmodel.h"
#include "support/moduletest.h"
#include "support/scenebuild.h"

namespace {

class MdcImport : public moduletest {
 protected:
  int ImportFrame(const mdcmodel& model, const std::string& frame) {
    desk.scripts[102] = [frame](desktop::scriptedwindow& window) {
      window.Type(1009, frame);
      window.Ok();
    };
    return Import(directory.Write("models/test.mdc", model.Write()));
  }
  const core::meshstate& Mesh(const std::string& name) const {
    return static_cast<cmesh*>(NodeNamed(name))->Mesh();
  }
};

TEST_F(MdcImport, BringsTheChosenFrameIn) {
  ASSERT_EQ(ImportFrame(SmallMdcModel(), "1"), 1);
  ASSERT_EQ(scene->Nodes().size(), 4U);
  ExpectPoint(Mesh("body").verts[1], {12.0F, 20.0F, 30.0F}, 0.0F);
}

}  // namespace
