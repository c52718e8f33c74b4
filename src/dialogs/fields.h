#pragma once

#include "plugin/platform/dialogs.h"

// Room for the text of a dialog's field, terminator included.
inline constexpr int kFieldSize = 128;

// The number in an edit field: the decimal digits at its start, with a sign; 0 if there are none.
// A number that no int holds becomes the nearest int.
int ReadNumber(cdialogwindow& window, int id);

void WriteNumber(cdialogwindow& window, int id, int number);
