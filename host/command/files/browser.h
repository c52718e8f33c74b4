#pragma once

#include <string>

namespace command {

// Opens the file in the user's browser and does not wait for its end. False where there is none, as
// on a terminal without windows.
bool OpenInBrowser(const std::string& path);

}  // namespace command
