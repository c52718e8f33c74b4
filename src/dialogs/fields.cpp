#include "dialogs/fields.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>

int ReadNumber(cdialogwindow& window, int id) {
  char text[kFieldSize] = {};
  window.GetLine(id, text, kFieldSize);
  const long long number = std::strtoll(text, nullptr, 10);
  return static_cast<int>(std::clamp<long long>(number, std::numeric_limits<int>::min(),
                                                std::numeric_limits<int>::max()));
}

void WriteNumber(cdialogwindow& window, int id, int number) {
  char text[16];
  std::snprintf(text, sizeof text, "%d", number);
  window.SetText(id, text);
}
