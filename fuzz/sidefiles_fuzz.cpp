// wolfanim.cfg and .aninc files, and .skin files of both forms. The first byte chooses the kind.

#include <string>

#include "seeded.h"
#include "sidefiles/cfgline.h"
#include "sidefiles/sequences.h"
#include "sidefiles/skinfile.h"
#include "sidefiles/textfile.h"

namespace {

class sidefile {
 public:
  explicit sidefile(unsigned kind) : kind_(kind % 4) {}

  bool Take(const char* line) {
    if (kind_ == 0) {
      return wolfanim_.Take(line) != cfguse::End;
    }
    if (kind_ == 1) {
      return TakeAnincLine(line, sequences_) != cfguse::End;
    }
    surfmat row;
    if (ParseSkinLine(line, kind_ == 2 ? skinform::Plain : skinform::Quoted, "game/", row)) {
      mats_.Add(row);
      mats_.FindMatBySurface(line);
    }
    return true;
  }

 private:
  unsigned kind_;
  canimsequences sequences_{"fuzz"};
  cwolfanimparser wolfanim_{sequences_};
  csurfmats mats_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size >= 2) {
    sidefile file(data[0]);
    ReadCfgLines(DecodedText({data + 1, data + size}),
                 [&](const cfgline& line) { return file.Take(line.text); });
  }
  return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t room, unsigned seed) {
  static const std::string kGood[] = {"\4VERSION 2\nSKELETAL\nSTARTANIMS\nidle 0 10 10 20\n",
                                      "\5idle 0 10 10 20\nwalk -1 5 0 0\n",
                                      "\6// c\nhead,models/b.jpg\r\n", "\7body,\"models/a.tga\"\n"};
  const std::string& good = kGood[seed % 4];
  return MutateSeeded(bytes(good.begin(), good.end()), data, size, room);
}
