// The four plain entry points by which a host discovers the module.

#include <array>
#include <cstddef>

#include "plugin/handlers.h"

namespace {

struct registryentry {
  int type;
  void* handler;
};

const std::array<registryentry, 7> kRegistry{{
    {kHandlerImporter, static_cast<cimporthandler*>(&impmdc)},
    {kHandlerImporter, static_cast<cimporthandler*>(&impmds)},
    {kHandlerExporter, static_cast<cexporthandler*>(&expmdc)},
    {kHandlerExporter, static_cast<cexporthandler*>(&expmds)},
    {kHandlerImporter, static_cast<cimporthandler*>(&impmdmmdx)},
    {kHandlerExporter, static_cast<cexporthandler*>(&expmdmmdx)},
    {kHandlerExporter, static_cast<cexporthandler*>(&expmdx)},
}};

constexpr int kLibVersion = 1500;  // 1.5.0.0 in the version record

// Negative indices are out of range as large ones are.
bool InRange(int index) { return static_cast<std::size_t>(index) < kRegistry.size(); }

}  // namespace

extern "C" {

MARROW_API int LibType(int index) {
  return InRange(index) ? kRegistry[static_cast<std::size_t>(index)].type : -1;
}

MARROW_API int LibNumberClasses() { return static_cast<int>(kRegistry.size()); }

MARROW_API void* LibClassDesc(int index) {
  return InRange(index) ? kRegistry[static_cast<std::size_t>(index)].handler : nullptr;
}

MARROW_API int LibVersion() { return kLibVersion; }

}  // extern "C"
