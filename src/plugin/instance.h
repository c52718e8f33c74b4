#pragma once

// The module's instance handle as the operating system gave it, which names the module's resources
// whenever a dialog is created. Null where modules have none.
extern void* moduleinstance;
