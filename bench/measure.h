#pragma once

#include <string>

#include "benchscene.h"

enum class measuredrun {
  Export,
  Import,
  BareLoop,  // DecodeBare on the file that an import would read
};

// Measures one case in this process and prints it as one line of JSON. 0: the runs gave 1.
int MeasureCase(const modelsize& size, const std::string& format, measuredrun what);
