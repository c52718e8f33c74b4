#include "plugin/handlers.h"
#include "plugin/notbuilt.h"

int cimpmds::Import(const char* /*path*/) { return TellNotBuilt("import", "mds"); }
