#pragma once

#include "skeletal/exportframes.h"

class cprogress;

// The source file that the host's assertion is told of in both exporters of the pair.
inline constexpr char kMdmMdxSource[] = "ExportMDMMDX";

// Samples the skeleton and writes it to an mdx file. 0: the file could not be opened or written.
int WriteMDX(const char* path, const bonelist& list, const exportrange& range, cprogress& progress);
