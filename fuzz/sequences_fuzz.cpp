// wolfanim.cfg and .aninc files. The first byte chooses the kind.

#include "sidefiles/sequences.h"

#include "seeded.h"
#include "sidefiles/cfgline.h"
#include "text.h"

namespace {

void ReadSequences(const std::uint8_t* data, std::size_t size) {
  canimsequences sequences("fuzz");
  cwolfanimparser wolfanim(sequences);
  ReadText(data, size, [&](const std::string& text, int kind) {
    ReadCfgLines(text, [&](const cfgline& line) {
      return kind % 2 == 0 ? wolfanim.Take(line.text) != cfguse::End
                           : TakeAnincLine(line.text, sequences) != cfguse::End;
    });
  });
}

}  // namespace

SEEDED_FUZZ_TARGET(ReadSequences,
                   TextOf("\2VERSION 2\nSKELETAL\nSTARTANIMS\nidle 0 10 10 20\nwalk -1 5 0 0\n"))
