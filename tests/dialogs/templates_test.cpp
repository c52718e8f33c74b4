#include "dialogs/templates.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>

namespace {

bool Apart(const cdialogcontrol& a, const cdialogcontrol& b) {
  return a.x + a.width <= b.x || b.x + b.width <= a.x || a.y + a.height <= b.y ||
         b.y + b.height <= a.y;
}

bool Holds(const cdialogcontrol& box, const cdialogcontrol& inside) {
  return inside.x > box.x && inside.y > box.y && inside.x + inside.width < box.x + box.width &&
         inside.y + inside.height < box.y + box.height;
}

TEST(Templates, ControlsLieApartInsideTheirDialog) {
  int id = 101;
  for (const cdialogtemplate* dialog :
       {&SkeletalImportDialog(), &MdcImportDialog(), &MdcMdsExportDialog(), &ProgressDialog(),
        &MdmMdxExportDialog()}) {
    EXPECT_EQ(dialog->id, id++);
    std::set<int> ids;
    for (std::size_t i = 0; i < dialog->numControls; ++i) {
      const cdialogcontrol& item = dialog->controls[i];
      SCOPED_TRACE(item.text);
      EXPECT_TRUE(item.id < 0 || ids.insert(item.id).second);
      EXPECT_TRUE(item.x >= 0 && item.y >= 0 && item.x + item.width <= dialog->width &&
                  item.y + item.height <= dialog->height);
      // A text needs about four units a letter at 8 points.
      EXPECT_GE(item.width, 3 * static_cast<int>(std::strlen(item.text)));
      for (std::size_t k = 0; k < i; ++k) {
        const cdialogcontrol& other = dialog->controls[k];
        const bool framed = other.kind == ccontrolkind::GroupBox && Holds(other, item);
        EXPECT_TRUE(framed || Apart(item, other)) << other.text;
      }
    }
  }
}

}  // namespace
