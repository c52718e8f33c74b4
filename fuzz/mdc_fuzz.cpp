#include "hostile/readers.h"
#include "samples/mdcmodel.h"
#include "seeded.h"

SEEDED_FUZZ_TARGET(ReadMdc, SmallMdcModel().Write())
