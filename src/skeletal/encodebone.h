#pragma once

#include "plugin/host/values.h"
#include "skeletal/records.h"

// A bone's pose in a file from the world matrices of the bone and of its parent bone at the frame;
// `parent` is null for a bone without one. The orientation is that of the world, not relative to
// the parent; of the position, the file has the direction from the parent alone.
skelBoneFrame EncodeBone(const cmatrix4& world, const cmatrix4* parent);
