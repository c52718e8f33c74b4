#pragma once

#include "sidefiles/animseq.h"

// The option dialogs that stand before a run. Each gives 1 after OK and 0 after Cancel; after
// Cancel the arguments are as they were, but for an origin name, which is empty.

// Dialog 103, before an export of mdc (enable 1) or mds (enable 0). origin has at least 128 bytes.
int ShowExportOptions(int* start, int* end, int* usemodels, char* origin, int enable);

// Dialog 105, before an export of mdm (enable 1) or mdx (enable 0).
int ShowMDXExportOptions(int* start, int* end, char* origin, int* exportmdx, int enable);

// Dialog 102, before an import of mdc: the chosen frame, 0 to numframes - 1.
int ShowMDCImportOptions(int numframes, int* frame);

// Dialog 101, before an import of a skeletal model. The selected flags of the sequences are
// written too. skinchoice is -1 when there is no skin file.
int ShowImportOptions(const char* title, int* meshes, int* materials, int* bones, int* animation,
                      animseq** sequences, int numsequences, char** skins, int numskins,
                      int* skinchoice);
