# What `cmake --install` brings: the program with the module (component Runtime), and what a
# program of someone else's is built with (component Development). Headers keep their folders below
# include/marrow, so their includes of each other hold.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Marrow)
set_target_properties(marrow PROPERTIES INSTALL_RPATH "$ORIGIN/${MARROW_LIBDIR_FROM_BINDIR}")
set_target_properties(marrow_module PROPERTIES INSTALL_RPATH "$ORIGIN" EXPORT_NAME module)
set_target_properties(marrow_formats PROPERTIES EXPORT_NAME formats)
set_target_properties(marrow_gltf PROPERTIES EXPORT_NAME gltf)
set_target_properties(marrow_loader PROPERTIES EXPORT_NAME loader)
set_target_properties(marrow_files PROPERTIES EXPORT_NAME files)

install(TARGETS marrow Core marrow_module marrow_files marrow_formats marrow_gltf marrow_loader
  EXPORT Marrow
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/marrow COMPONENT Development)
install(EXPORT Marrow NAMESPACE Marrow:: FILE MarrowTargets.cmake DESTINATION ${package_dir}
  COMPONENT Development)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/package/MarrowConfig.cmake.in
  ${CMAKE_BINARY_DIR}/package/MarrowConfig.cmake INSTALL_DESTINATION ${package_dir}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/package/MarrowConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/package/MarrowConfig.cmake
              ${CMAKE_BINARY_DIR}/package/MarrowConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT Development)

# Relative to the file itself, so that an installed tree can be moved.
file(RELATIVE_PATH prefix_from_pc ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
if(MARROW_COMPRESSED_GLTF)
  set(compression_libraries " -ldraco -lmeshoptimizer")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/package/marrow.pc.in
               ${CMAKE_BINARY_DIR}/package/marrow.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/package/marrow.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT Development)

install(FILES README.md CHANGELOG.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Runtime)
# What `marrow view` puts a model into, where scripts/web.sh has built it; a built tree has it at the
# same place.
set(page ${PROJECT_SOURCE_DIR}/build/web/marrow.html)
install(FILES ${page} DESTINATION ${CMAKE_INSTALL_DATADIR}/marrow COMPONENT Runtime OPTIONAL)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_DATADIR}/marrow)
file(CREATE_LINK ${page} ${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_DATADIR}/marrow/marrow.html SYMBOLIC)
# What is told of the page has pictures as large as the program, and what is told of the Blender
# add-on comes with that.
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Runtime
  PATTERN "browser*" EXCLUDE
  REGEX "/blender(\\.md|-(character|import|export|front)\\.png)$" EXCLUDE)
install(FILES examples/sample.glb DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT Runtime)
install(FILES examples/bones.cpp examples/runhandler.cpp examples/toglb.cpp examples/CMakeLists.txt
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT Development)
install(DIRECTORY examples/host DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT Development)
