// The body of the image library, which the analyser is not to look at.

#if !defined(__clang_analyzer__)
#define STB_IMAGE_IMPLEMENTATION
#include "core/stbimage.h"
#endif
