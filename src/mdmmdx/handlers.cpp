#include "plugin/handlers.h"
#include "plugin/notbuilt.h"

int cimpmdmmdx::Import(const char* /*path*/) { return TellNotBuilt("import", "mdm"); }
int cexpmdmmdx::Export(const char* /*path*/) { return TellNotBuilt("export", "mdm"); }
int cexpmdx::Export(const char* /*path*/) { return TellNotBuilt("export", "mdx"); }
