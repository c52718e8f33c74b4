// A damaged model through its importer, and the scene that came of it through an exporter. The
// first byte chooses the formats; of a pair the other file is a good one.

#include "handlers.h"
#include "samples/mdcmodel.h"
#include "samples/skelmodel.h"
#include "seeded.h"

namespace {

constexpr const char* kSuffixes[] = {"mdc", "mds", "mdm", "mdx"};

bytes GoodFile(unsigned kind) {
  static const bytes kGood[] = {SmallMdcModel().Write(), SmallSkelModel().WriteMds(),
                                SmallSkelModel().WriteMdm(), SmallSkelModel().WriteMdx()};
  return kGood[kind];
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) {
    return 0;
  }
  static const tempdirectory& folder = handlers::Loaded().Folder();
  static const std::string sequences =
      folder.Write("wolfanim.cfg", "VERSION 2\nSTARTANIMS\nall 0 2 0 20\nENDANIMS\n") +
      folder.Write("a.aninc", "all 0 2 0 20\n");
  const unsigned kind = data[0] % 4U;
  if (kind >= 2) {
    folder.Write("a.mdm", GoodFile(2));
    folder.Write("a.mdx", GoodFile(3));
  }
  folder.Write(std::string("a.") + kSuffixes[kind], bytes(data + 1, data + size));
  core::scene scene;
  handlers::Loaded().Import(kind == 3 ? "mdm" : kSuffixes[kind], scene);
  handlers::Loaded().Export(data[0] / 4U, scene);
  return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t room, unsigned seed) {
  bytes good = GoodFile(seed % 4);
  good.insert(good.begin(), static_cast<std::uint8_t>(seed % 16));
  return MutateSeeded(good, data, size, room);
}
