// Numbers that the picker's resource and its code share; read by the resource compiler too.
#define PICKER_DIALOG 1
#define PICKER_LIST 1000
