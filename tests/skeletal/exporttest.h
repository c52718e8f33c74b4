#pragma once

#include <memory>
#include <string>
#include <vector>

#include "mdmmdx/mdmfile.h"
#include "mdmmdx/mdxfile.h"
#include "mds/mdsfile.h"
#include "support/moduletest.h"
#include "support/scenebuild.h"

// Runs exporters over the current scene and reads what they wrote.
class exporttest : public moduletest {
 protected:
  void SetRange(int start, int end, const std::string& origin = "") {
    const auto play = [=](int startId, int endId, int originId) {
      return [=](desktop::scriptedwindow& window) {
        window.Type(startId, std::to_string(start));
        window.Type(endId, std::to_string(end));
        window.Type(originId, origin);
        window.Ok();
      };
    };
    desk.scripts[103] = play(1010, 1011, 1015);
    desk.scripts[105] = play(1020, 1021, 1018);
  }

  // A file that holds whole and ends where its header says.
  template <class File>
  std::unique_ptr<File> Written(const std::string& name) {
    const std::string path = directory.File(name);
    EXPECT_EQ(Export(path), 1);
    auto file = std::make_unique<File>();
    EXPECT_TRUE(file->Load(path.c_str())) << file->Fault();
    EXPECT_EQ(file->header->ofsEnd, static_cast<std::int32_t>(file->Size()));
    return file;
  }
  auto Mds() { return Written<cmdsfile>("Out.MDS"); }
  auto Mdm() { return Written<cmdmfile>("Out.MDM"); }
  auto Mdx() { return Written<cmdxfile>("Out.MDX"); }
};

template <std::size_t Size>
std::string Text(const namefield<Size>& field) {
  return NameText(field).data();
}

inline std::string Text(const cfiledialog& dialog) {
  return std::string(dialog.title) + ", " + dialog.filterName + ", " + dialog.filterPattern + ", " +
         dialog.defaultExtension + ", " + std::to_string(dialog.flags);
}

using numbers = std::vector<int>;

// 32-bit numbers, `offset` bytes behind the start of a record.
inline numbers NumbersAt(const void* record, int offset, int count) {
  const auto* first = reinterpret_cast<const little<std::int32_t>*>(
      static_cast<const unsigned char*>(record) + offset);
  return {first, first + count};
}
inline numbers BoneReferences(const skelSurface& surface) {
  return NumbersAt(&surface, surface.ofsBoneReferences, surface.numBoneReferences);
}

inline cbone* AddStill(const char* name, cnode* parent, const cpoint3& position,
                       const cpoint3& angles = {}) {
  return AddBone(name, parent, {KeyAt(0, position, angles)});
}
