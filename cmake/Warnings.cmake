# Our own targets build with warnings as errors. -Wrestrict is off: at -O3 g++ 12 reports
# overlaps inside std::string's own inlined copies that cannot happen (a known false
# positive of that compiler).
function(brindle_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Werror
    -Wno-error=deprecated-declarations $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
endfunction()

# SWIG's generated wrappers: the same, less the warnings the generator itself causes.
function(brindle_generated_warnings source)
  set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS
    "-Wall;-Wextra;-Werror;-Wno-unused-parameter;-Wno-missing-field-initializers;-Wno-cast-function-type;-Wno-unused-function")
endfunction()
