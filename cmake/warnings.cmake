# The options that every target of the project is compiled with.
add_library(marrow_options INTERFACE)
target_compile_options(marrow_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                                -Wsign-conversion -Wnon-virtual-dtor -Wcast-align)
if(MARROW_WERROR)
  target_compile_options(marrow_options INTERFACE -Werror)
endif()
if(MARROW_SANITIZE)
  # vptr is left out: the module and the host each have their own copy of a handler's
  # type information (hidden visibility), which that check takes for different types.
  set(sanitizers -fsanitize=address,undefined -fno-sanitize=vptr -fno-sanitize-recover=all
                 -fno-omit-frame-pointer)
  if(MARROW_FUZZ)
    list(APPEND sanitizers -fsanitize=fuzzer-no-link)
  endif()
  target_compile_options(marrow_options INTERFACE ${sanitizers})
  target_link_options(marrow_options INTERFACE ${sanitizers})
endif()
