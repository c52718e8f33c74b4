// The body of the library that writes images, which the analyser is not to look at.

#if !defined(__clang_analyzer__)
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#include <stb/stb_image_write.h>
#endif
