# Headers of libraries that take longer to read than the files that include them, read once for a
# target. Off unless asked for, so that a file that lacks an include is noticed.
option(MARROW_PRECOMPILE "Precompile the headers of large libraries" OFF)

function(marrow_precompile target)
  if(MARROW_PRECOMPILE)
    target_precompile_headers(${target} PRIVATE ${ARGN})
  endif()
endfunction()
