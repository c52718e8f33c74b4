#include <string_view>

#include "module/sharedlibrary.h"

// A program that its module is linked into, where nothing can be loaded at run time.

extern "C" {
int LibType(int index);
int LibNumberClasses();
void* LibClassDesc(int index);
int LibVersion();
}

namespace module {

namespace {

int linkedModule = 0;  // what a library's handle points to

}  // namespace

void* OpenShared(const std::string& path, std::string& error) {
  if (!path.empty()) {
    error = "this program has its own module and cannot load another";
    return nullptr;
  }
  return &linkedModule;
}

void* SharedSymbol(void* /*library*/, const char* name) {
  const std::string_view wanted = name;
  if (wanted == "LibType") {
    return reinterpret_cast<void*>(&LibType);
  }
  if (wanted == "LibNumberClasses") {
    return reinterpret_cast<void*>(&LibNumberClasses);
  }
  if (wanted == "LibClassDesc") {
    return reinterpret_cast<void*>(&LibClassDesc);
  }
  if (wanted == "LibVersion") {
    return reinterpret_cast<void*>(&LibVersion);
  }
  return nullptr;
}

void CloseShared(void* /*library*/) {}

}  // namespace module
