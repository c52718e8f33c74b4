# WebAssembly with Debian's emscripten. Its C++ library is older than the language standard that the
# project uses; what it lacks comes from one header that every file is given.
include(/usr/share/emscripten/cmake/Modules/Platform/Emscripten.cmake)

set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
set(CMAKE_CXX_FLAGS_INIT "-fexceptions -include ${CMAKE_CURRENT_LIST_DIR}/web/oldlibrary.h")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fexceptions")
