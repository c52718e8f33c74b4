#include "core/assertion.h"

#include <cstdio>

#include "plugin/host/scene.h"

namespace core {

assertionfailure::assertionfailure(const char* failedExpression, const char* sourceFile,
                                   int sourceLine)
    : line(sourceLine) {
  std::snprintf(expression, sizeof expression, "%s",
                failedExpression == nullptr ? "" : failedExpression);
  std::snprintf(file, sizeof file, "%s", sourceFile == nullptr ? "" : sourceFile);
}

}  // namespace core

void MyAssertFailedLine(const char* expression, const char* file, int line) {
  throw core::assertionfailure(expression, file, line);
}

void array_assert(int condition) {
  if (condition == 0) {
    throw core::assertionfailure("array index out of bounds", "", 0);
  }
}
