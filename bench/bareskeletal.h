#pragma once

#include <cstddef>
#include <string>

#include "bareskin.h"

// The least that an mds export of skinned surfaces has to compute: for each frame joints posed from
// their keys, vertices skinned for the box and the joints' angles, then the surfaces with their
// weights, written. No host, no checks, no scene: what such an export's time is measured against.
// The number of bytes written.
std::size_t WriteBareMds(const bare::model& model, const std::string& path);

// Which section of the one mds file is not that of the other: angles by more than a step, boxes and
// lengths by more than a thousandth of a unit, anything else at all. Empty: none.
std::string MdsDifference(const std::string& a, const std::string& b);
