#include "hostile/gltfreader.h"
#include "samples/gltfmodel.h"
#include "seeded.h"
#ifdef MARROW_COMPRESSED_GLTF
#include "samples/packedgltf.h"
#endif

namespace {

std::vector<bytes> GoodFiles() {
  const std::string text = SmallGltf().Text();
  return {SmallGltf().Binary(),
          bytes(text.begin(), text.end()),
#ifdef MARROW_COMPRESSED_GLTF
          MeshoptGltf("TRIANGLES").Binary(),
          MeshoptGltf("INDICES").Binary(),
          DracoGltf(dracomethod::Sequential).Binary(),
          DracoGltf(dracomethod::Edgebreaker).Binary()
#endif
  };
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ReadGltf(data, size);
  return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t room, unsigned seed) {
  static const std::vector<bytes> good = GoodFiles();
  return MutateSeeded(good[seed % good.size()], data, size, room);
}
