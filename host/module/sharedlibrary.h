#pragma once

#include <string>

// The operating system's loader of shared libraries.
namespace module {

// Null, and the system's reason in `error`, when the file cannot be loaded.
void* OpenShared(const std::string& path, std::string& error);
// Null when the library exports no such name.
void* SharedSymbol(void* library, const char* name);
void CloseShared(void* library);

}  // namespace module
