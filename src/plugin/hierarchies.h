#pragma once

#include "plugin/host/arrays.h"

// The exporters' lists of the scene's nodes in hierarchy order, filled by a run and kept until the
// next. They are constructed before the seven handlers and destroyed with the module.
extern culongarray mdmmdxhierarchy;
extern culongarray mdshierarchy;
