#pragma once

// What the games take of a model. The formats hold more, so a file beyond it is written and shown,
// with a line for each limit that it passes.

#include <string>
#include <vector>

#include "mdc/mdcfile.h"
#include "mdmmdx/mdmfile.h"
#include "mdmmdx/mdxfile.h"
#include "mds/mdsfile.h"

namespace command {

// One text for each limit, with the number and the limit. Names count as cut where they fill all
// that a file has for them.
std::vector<std::string> PassedLimits(const cmdcfile& file);
std::vector<std::string> PassedLimits(const cmdsfile& file);
std::vector<std::string> PassedLimits(const cmdmfile& file);
std::vector<std::string> PassedLimits(const cmdxfile& file);

}  // namespace command
