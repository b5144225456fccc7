# ASan+UBSan over every target. Python runs need the ASan runtime preloaded and leak
# detection off, since the interpreter itself keeps memory until exit. The C++ runtime is
# preloaded too: the interpreter doesn't link it, and ASan must find the real __cxa_throw
# when it starts, or the first C++ throw aborts.
set(BRINDLE_PY_TEST_ENV "PYTHONDONTWRITEBYTECODE=1")
set(BRINDLE_GTEST_ENV "")
if(BRINDLE_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer
                      -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libasan.so
                  OUTPUT_VARIABLE BRINDLE_ASAN_RT OUTPUT_STRIP_TRAILING_WHITESPACE)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libstdc++.so
                  OUTPUT_VARIABLE BRINDLE_CXX_RT OUTPUT_STRIP_TRAILING_WHITESPACE)
  list(APPEND BRINDLE_PY_TEST_ENV "LD_PRELOAD=${BRINDLE_ASAN_RT} ${BRINDLE_CXX_RT}"
       "ASAN_OPTIONS=detect_leaks=0" "UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1"
       "BRINDLE_SANITIZE=1")
  list(APPEND BRINDLE_GTEST_ENV "UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1")
endif()
