#include "plugin/handlers.h"
#include "plugin/notbuilt.h"

int cimpmdmmdx::Import(const char* /*path*/) { return TellNotBuilt("import", "mdm"); }
