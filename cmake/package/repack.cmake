# Run over the finished .deb files: cpack's scripts call ldconfig, which the package's trigger does
# already.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(files ${CPACK_TEMPORARY_DIRECTORY}/repack)
  file(REMOVE_RECURSE ${files})
  execute_process(COMMAND dpkg-deb -R ${package} ${files} COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE ${files}/DEBIAN/postinst ${files}/DEBIAN/postrm)
  execute_process(COMMAND dpkg-deb --root-owner-group -b ${files} ${package}
                  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
