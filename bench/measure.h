#pragma once

#include "mdcscene.h"

// Measures one case in this process and prints it as one line of JSON. 0: the runs gave 1.
int MeasureCase(const modelsize& size, bool import);
