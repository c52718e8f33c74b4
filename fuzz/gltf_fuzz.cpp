#include "hostile/gltfreader.h"
#include "samples/gltfmodel.h"
#include "seeded.h"

SEEDED_FUZZ_TARGET(ReadGltf, SmallGltf().Binary())
