#include "core/changes.h"

namespace core {

namespace {

std::uint64_t changes = 1;

}  // namespace

void ForgetPoses() { ++changes; }
std::uint64_t Changes() { return changes; }

}  // namespace core
