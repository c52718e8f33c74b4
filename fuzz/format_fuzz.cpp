// The readers of the model formats: which one, and its good file, are told by CMakeLists.txt.

#include "hostile/readers.h"
#include "samples/mdcmodel.h"
#include "samples/skelmodel.h"
#include "seeded.h"

SEEDED_FUZZ_TARGET(MARROW_READER, MARROW_GOOD_FILE)
