# What a build for Windows adds to the project's settings.
if(NOT WIN32)
  return()
endif()
enable_language(RC)

# An 8-bit path or text is UTF-8 throughout, as elsewhere: the programs ask for that code page in
# their manifest, and the module uses the one of the program that loads it.
set(MARROW_MANIFEST ${PROJECT_SOURCE_DIR}/cmake/windows/program.rc)
add_compile_definitions(WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)

if(CMAKE_CROSSCOMPILING)
  # Libraries that are nothing but headers come from the building machine. Its /usr/include must
  # stay out of sight, so they are linked into a folder of their own, and CMake takes /usr/include
  # for one that no target has to name.
  set(headers ${CMAKE_BINARY_DIR}/headers)
  file(MAKE_DIRECTORY ${headers})
  foreach(name CLI nlohmann stb)
    file(CREATE_LINK /usr/include/${name} ${headers}/${name} SYMBOLIC)
  endforeach()
  include_directories(SYSTEM ${headers})
  list(APPEND CMAKE_C_IMPLICIT_INCLUDE_DIRECTORIES /usr/include)
  list(APPEND CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES /usr/include)
endif()

# The language's run-time libraries are shared: the host's end of a run is an exception that
# Core.dll throws, that unwinds marrow.dll and that the program catches. They stand beside the
# programs.
foreach(name libgcc_s_seh-1.dll libstdc++-6.dll libwinpthread-1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
                  OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE)
  file(COPY ${file} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  install(FILES ${file} DESTINATION bin)
endforeach()
