#pragma once

// The reader of each format: where code that looks into models gets it from.

#include "command/files/formats.h"
#include "mdc/mdcfile.h"
#include "mdmmdx/mdmfile.h"
#include "mdmmdx/mdxfile.h"
#include "mds/mdsfile.h"

namespace command {

// Calls `use` with an empty reader of the kind, whose type is cmdcfile, cmdsfile, cmdmfile or
// cmdxfile; not at all where the kind is no model's.
template <class Use>
void WithReader(filekind kind, Use&& use) {
  switch (kind) {
    case filekind::Mdc:
      return use(cmdcfile());
    case filekind::Mds:
      return use(cmdsfile());
    case filekind::Mdm:
      return use(cmdmfile());
    case filekind::Mdx:
      return use(cmdxfile());
    case filekind::Scene:
    case filekind::Other:
      return;
  }
}

}  // namespace command
