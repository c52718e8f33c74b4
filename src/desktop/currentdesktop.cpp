#include "desktop/currentdesktop.h"

cdesktop& CurrentDesktop() {
  cdesktop& own = OwnDesktop();
  const auto find = FindHostDesktop();
  cdesktop* const hosts = find != nullptr ? find(kDesktopVersion, &own) : nullptr;
  return hosts != nullptr ? *hosts : own;
}
