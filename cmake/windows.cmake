# What a build for Windows adds to the project's settings.
if(NOT WIN32)
  return()
endif()
enable_language(RC)

# An 8-bit path or text is UTF-8 throughout, as elsewhere: the programs ask for that code page in
# their manifest, and the module uses the one of the program that loads it.
configure_file(${PROJECT_SOURCE_DIR}/cmake/windows/program.manifest.in
               ${CMAKE_BINARY_DIR}/windows/program.manifest)
configure_file(${PROJECT_SOURCE_DIR}/cmake/windows/program.rc ${CMAKE_BINARY_DIR}/windows COPYONLY)
set(MARROW_MANIFEST ${CMAKE_BINARY_DIR}/windows/program.rc)
add_compile_definitions(WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)

# The language's run-time libraries are shared: the host's end of a run is an exception that
# Core.dll throws, that unwinds marrow.dll and that the program catches. They stand beside the
# programs.
foreach(name libgcc_s_seh-1.dll libstdc++-6.dll libwinpthread-1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
                  OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE)
  file(COPY ${file} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  execute_process(COMMAND ${CMAKE_STRIP} --strip-unneeded ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name})
  install(FILES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Runtime)
endforeach()
