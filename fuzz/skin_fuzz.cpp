// .skin files of both forms. The first byte chooses the form.

#include "sidefiles/skinfile.h"

#include <string>

#include "seeded.h"
#include "sidefiles/cfgline.h"
#include "text.h"

namespace {

void ReadSkin(const std::uint8_t* data, std::size_t size) {
  csurfmats mats;
  ReadText(data, size, [&](std::FILE* text, int kind) {
    ReadCfgLines(text, [&](const char* line) {
      surfmat row;
      if (ParseSkinLine(line, kind % 2 == 0 ? skinform::Plain : skinform::Quoted, "game/", row)) {
        mats.Add(row);
        mats.FindMatBySurface(line);
      }
      return true;
    });
  });
}

}  // namespace

SEEDED_FUZZ_TARGET(ReadSkin, TextOf("\1body,\"models/a.tga\"\n// c\nhead,models/b.jpg\r\n"))
