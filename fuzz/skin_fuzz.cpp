// .skin files of both forms. The first byte chooses the form.

#include "sidefiles/skinfile.h"

#include <string>

#include "seeded.h"
#include "sidefiles/cfgline.h"
#include "text.h"

namespace {

void ReadSkin(const std::uint8_t* data, std::size_t size) {
  csurfmats mats;
  ReadText(data, size, [&](const std::string& text, int kind) {
    ReadCfgLines(text, [&](const cfgline& line) {
      surfmat row;
      if (ParseSkinLine(line.text, kind % 2 == 0 ? skinform::Plain : skinform::Quoted, "game/",
                        row)) {
        mats.Add(row);
        mats.FindMatBySurface(line.text);
      }
      return true;
    });
  });
}

}  // namespace

SEEDED_FUZZ_TARGET(ReadSkin, TextOf("\1body,\"models/a.tga\"\n// c\nhead,models/b.jpg\r\n"))
