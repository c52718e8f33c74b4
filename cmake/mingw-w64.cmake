# Cross build for 64-bit Windows with Debian's mingw-w64 (the variant with POSIX threads).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(target x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${target}-gcc-posix)
set(CMAKE_CXX_COMPILER ${target}-g++-posix)
set(CMAKE_RC_COMPILER ${target}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${target})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)

# Debian's wine64 without the package of wrappers.
find_program(WINE NAMES wine64 wine PATHS /usr/lib/wine)
if(WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${WINE})
endif()
