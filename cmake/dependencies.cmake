# Every dependency is looked for here or where it is used, and one that is missing ends the
# configuration with the Debian package that has it. Arguments after the package's name are those
# of find_package.
macro(marrow_find debian name)
  find_package(${name} ${ARGN} QUIET)
  if(NOT ${name}_FOUND)
    message(FATAL_ERROR "${name} is missing: install the Debian package ${debian}")
  endif()
endmacro()

# Libraries that are nothing but headers come from the building machine in a cross build too.
marrow_find(nlohmann-json3-dev nlohmann_json CONFIG NO_CMAKE_FIND_ROOT_PATH)
marrow_find(rapidjson-dev RapidJSON CONFIG NO_CMAKE_FIND_ROOT_PATH)
marrow_find(libcli11-dev CLI11 CONFIG NO_CMAKE_FIND_ROOT_PATH)
marrow_find(libeigen3-dev Eigen3 CONFIG NO_CMAKE_FIND_ROOT_PATH)
find_path(MARROW_STB stb/stb_image.h PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH)
mark_as_advanced(MARROW_STB)
if(NOT MARROW_STB)
  message(FATAL_ERROR "stb/stb_image.h is missing: install the Debian package libstb-dev")
endif()
add_library(marrow_stb INTERFACE)
target_include_directories(marrow_stb SYSTEM INTERFACE ${MARROW_STB})

if(MARROW_COMPRESSED_GLTF)
  marrow_find(libdraco-dev draco CONFIG)
  marrow_find(libmeshoptimizer-dev meshoptimizer CONFIG)
endif()

# The games' archives. Debian has the library for no other system, and its CMake package names
# programs that libzip-dev does not bring.
find_path(MARROW_ZIP_HEADER zip.h)
find_library(MARROW_ZIP zip)
mark_as_advanced(MARROW_ZIP_HEADER MARROW_ZIP)
if(MARROW_ZIP AND MARROW_ZIP_HEADER)
  add_library(marrow_zip INTERFACE)
  target_include_directories(marrow_zip SYSTEM INTERFACE ${MARROW_ZIP_HEADER})
  target_link_libraries(marrow_zip INTERFACE ${MARROW_ZIP})
else()
  set(MARROW_ZIP "")
  message(STATUS "This build reads no pk3 archives: it needs the Debian package libzip-dev")
endif()

if(CMAKE_CROSSCOMPILING)
  # The building machine's /usr/include must stay out of sight, so the headers are linked into a
  # folder of their own, and CMake takes /usr/include for one that no target has to name.
  set(headers ${CMAKE_BINARY_DIR}/headers)
  file(MAKE_DIRECTORY ${headers})
  foreach(name CLI nlohmann rapidjson stb)
    file(CREATE_LINK /usr/include/${name} ${headers}/${name} SYMBOLIC)
  endforeach()
  include_directories(SYSTEM ${headers})
  foreach(language C CXX RC)
    list(APPEND CMAKE_${language}_IMPLICIT_INCLUDE_DIRECTORIES /usr/include)
  endforeach()
endif()
