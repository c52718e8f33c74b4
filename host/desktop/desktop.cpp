#include "desktop/desktop.h"

namespace desktop {

namespace {

idesktop* currentDesktop = nullptr;
cdesktop* moduleDesktop = nullptr;

}  // namespace

void MakeCurrent(idesktop* current) { currentDesktop = current; }

cdesktop& ModuleDesktop() { return *moduleDesktop; }

}  // namespace desktop

extern "C" cdesktop* MarrowDesktop(int version, cdesktop* own) {
  if (version != kDesktopVersion) {
    return nullptr;
  }
  desktop::moduleDesktop = own;
  return desktop::currentDesktop;
}
