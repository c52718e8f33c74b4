# What a build for the browser adds: everything in one program, which a page starts for each run.
set(MARROW_LIBRARY_TYPE SHARED)
if(NOT EMSCRIPTEN)
  return()
endif()
set(MARROW_LIBRARY_TYPE STATIC)
set(CMAKE_POSITION_INDEPENDENT_CODE OFF)

# The page gives the program its arguments and its files; a run takes what memory it needs.
function(marrow_web_program target)
  target_link_options(${target} PRIVATE
    -sMODULARIZE -sEXPORT_ES6 -sUSE_ES6_IMPORT_META=0 -sENVIRONMENT=worker,node
    -sINVOKE_RUN=0 -sEXIT_RUNTIME=1 -sFORCE_FILESYSTEM -sEXPORTED_RUNTIME_METHODS=FS,callMain
    -sALLOW_MEMORY_GROWTH -sMAXIMUM_MEMORY=4GB -sTOTAL_STACK=8MB)
  set_target_properties(${target} PROPERTIES SUFFIX .mjs)
endfunction()
