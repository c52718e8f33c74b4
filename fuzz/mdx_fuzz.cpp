#include "hostile/readers.h"
#include "samples/skelmodel.h"
#include "seeded.h"

SEEDED_FUZZ_TARGET(ReadMdx, SmallSkelModel().WriteMdx())
