#include "command/files/browser.h"

namespace command {

// The program runs in a browser already.
bool OpenInBrowser(const std::string& /*path*/) { return false; }

}  // namespace command
