#include "core/changes.h"

namespace core {

std::uint64_t poseChanges = 1;

void ForgetPoses() { ++poseChanges; }

}  // namespace core
