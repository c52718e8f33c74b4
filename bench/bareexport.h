#pragma once

#include <cstddef>
#include <string>

#include "bareskin.h"

// The least that an mdc export of skinned surfaces has to compute: joints posed from their keys,
// vertices skinned for the frames' boxes, skinned again, moved by the surface's matrix, quantised
// and written. No host, no checks, no scene: what such an export's time is measured against.
// The number of bytes written.
std::size_t WriteBareMdc(const bare::model& model, const std::string& path);

// The most that a coordinate of the one mdc file lies from that of the other, in steps of the
// format; below 0 where the files do not hold the same surfaces and frames.
int StepsApart(const std::string& a, const std::string& b);
