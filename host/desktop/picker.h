// Numbers that the picker's resource and its code share; read by the resource compiler too.
#define kPickerDialog 1
#define kPickerList 1000
