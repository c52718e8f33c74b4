#pragma once

#include "plugin/host/api.h"

namespace core {

// What MyAssertFailedLine and array_assert throw to end a run. Deliberately no std::exception: a
// module that guards its edge against its own failures lets this one pass to the host. The texts
// are copies, since the module that named them may be gone when they are read.
struct CORE_API assertionfailure {
  assertionfailure(const char* failedExpression, const char* sourceFile, int sourceLine);

  char expression[256];
  char file[256];
  int line;
};

}  // namespace core
