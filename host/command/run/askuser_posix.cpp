#include "command/run/askuser.h"

namespace command {

bool CanAsk() { return false; }

std::unique_ptr<desktop::idesktop> DesktopThatAsks(const askhooks& /*hooks*/) { return nullptr; }

}  // namespace command
