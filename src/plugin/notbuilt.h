#pragma once

#include <cstdio>

#include "plugin/host/handlers.h"
#include "plugin/platform/dialogs.h"

// The answer of a handler whose format this version does not have yet: it says so and fails.
inline int TellNotBuilt(const char* verb, const char* format) {
  char text[128];
  std::snprintf(text, sizeof text, "This version of Marrow cannot %s %s files yet.", verb, format);
  desktop::ShowMessage(text, "Marrow", desktop::kMessageExclamation);
  return kRunFailed;
}
