# Run over the files of a package before they are packed, in CPACK_TEMPORARY_DIRECTORY. cpack strips
# programs and shared libraries; these are the static ones.
file(GLOB_RECURSE archives ${CPACK_TEMPORARY_DIRECTORY}/*.a)
foreach(archive IN LISTS archives)
  execute_process(COMMAND ${CPACK_MARROW_STRIP} --strip-unneeded ${archive}
                  COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# What Debian wants elsewhere, under another name or compressed. Each .deb has a folder here.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()

function(compress file)
  execute_process(COMMAND gzip -9nf ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# The newest version's entries, as Debian's changelog has them.
file(STRINGS ${CPACK_MARROW_FILES}/../../CHANGELOG.md lines)
set(changes "")
set(versions 0)
foreach(line IN LISTS lines)
  if(line MATCHES "^## ")
    math(EXPR versions "${versions} + 1")
  elseif(versions EQUAL 1 AND line MATCHES "^- (.*)")
    string(APPEND changes "  * ${CMAKE_MATCH_1}\n")
  elseif(versions EQUAL 1 AND line MATCHES "^  (.*)")
    string(APPEND changes "    ${CMAKE_MATCH_1}\n")
  endif()
endforeach()
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
string(CONCAT changelog
  "marrow (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium\n\n${changes}\n"
  " -- ${CPACK_PACKAGE_CONTACT}  ${now}\n")

file(READ ${CPACK_RESOURCE_FILE_LICENSE} licence)
foreach(package marrow libmarrow-dev)
  set(root ${CPACK_TEMPORARY_DIRECTORY}/Runtime/usr)
  if(package STREQUAL libmarrow-dev)
    set(root ${CPACK_TEMPORARY_DIRECTORY}/Development/usr)
    file(RENAME ${root}/share/doc/marrow ${root}/share/doc/${package})
  endif()
  set(doc ${root}/share/doc/${package})
  file(REMOVE ${doc}/LICENSE ${doc}/CHANGELOG.md)
  file(WRITE ${doc}/copyright "${licence}")
  file(WRITE ${doc}/changelog "${changelog}")
  compress(${doc}/changelog)
endforeach()

# Where pkg-config looks in a cross build too.
set(root ${CPACK_TEMPORARY_DIRECTORY}/Development/usr)
set(triplet_dir ${root}/lib/${CPACK_MARROW_TRIPLET})
if(EXISTS ${root}/lib/pkgconfig AND CPACK_MARROW_TRIPLET)
  file(READ ${root}/lib/pkgconfig/marrow.pc text)
  string(REPLACE "prefix=\${pcfiledir}/" "prefix=\${pcfiledir}/../" text "${text}")
  file(REMOVE_RECURSE ${root}/lib/pkgconfig)
  file(WRITE ${triplet_dir}/pkgconfig/marrow.pc "${text}")
endif()

set(root ${CPACK_TEMPORARY_DIRECTORY}/Runtime/usr)
file(GLOB pages ${root}/share/man/man1/*.1)
foreach(page IN LISTS pages)
  compress(${page})
endforeach()
file(MAKE_DIRECTORY ${root}/share/zsh)
file(RENAME ${root}/share/zsh/site-functions ${root}/share/zsh/vendor-completions)
file(MAKE_DIRECTORY ${root}/share/lintian/overrides)
file(COPY_FILE ${CPACK_MARROW_FILES}/lintian-overrides ${root}/share/lintian/overrides/marrow)
