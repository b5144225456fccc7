# brindle_swig_module(NAME _x INTERFACE file.i OUTPUT_DIR dir [TABLE list] [EXPORTS map]
#                     [SOURCES ...] [LINK ...] [GUARD_INIT])
# SWIG generates the wrapper, a checked post-processing step edits it, and the result is
# built as a Python extension. The generated proxy .py is never used: the script layer
# has its own proxy classes.
file(GLOB_RECURSE BRINDLE_SWIG_DEPS CONFIGURE_DEPENDS
     ${CMAKE_SOURCE_DIR}/src/*.h ${CMAKE_SOURCE_DIR}/src/*.swg ${CMAKE_SOURCE_DIR}/src/*.i
     ${CMAKE_SOURCE_DIR}/refhost/*.h ${CMAKE_SOURCE_DIR}/python/*.i)

function(brindle_swig_module)
  cmake_parse_arguments(S "GUARD_INIT" "NAME;INTERFACE;OUTPUT_DIR;TABLE;EXPORTS"
                        "SOURCES;LINK;DEPENDS" ${ARGN})
  string(REGEX REPLACE "^_" "" modname ${S_NAME})
  set(gen ${CMAKE_BINARY_DIR}/swig/${S_NAME})
  set(raw ${gen}/${modname}_raw.cxx)
  set(out ${gen}/${modname}_wrap.cxx)
  set(post_args --module ${S_NAME})
  set(table_dep "")
  if(S_TABLE)
    list(APPEND post_args --table ${S_TABLE})
    set(table_dep ${S_TABLE})
  endif()
  if(S_GUARD_INIT)
    list(APPEND post_args --guard-init)
  endif()
  add_custom_command(
    OUTPUT ${out}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${gen}/py
    COMMAND ${SWIG_EXECUTABLE} -c++ -python -fastproxy -nofastunpack
            -I${CMAKE_SOURCE_DIR}/src -I${CMAKE_SOURCE_DIR} -outdir ${gen}/py -o ${raw} ${S_INTERFACE}
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/cmake/swig_postprocess.py ${raw} ${out}
            ${post_args}
    DEPENDS ${S_INTERFACE} ${BRINDLE_SWIG_DEPS} ${table_dep} ${S_DEPENDS}
            ${CMAKE_SOURCE_DIR}/cmake/swig_postprocess.py
    COMMENT "SWIG ${S_NAME}"
    VERBATIM)
  add_library(${S_NAME} MODULE ${out} ${S_SOURCES})
  brindle_generated_warnings(${out})
  set_target_properties(${S_NAME} PROPERTIES PREFIX "" SUFFIX ".so"
    LIBRARY_OUTPUT_DIRECTORY ${S_OUTPUT_DIR}
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_include_directories(${S_NAME} PRIVATE ${CMAKE_SOURCE_DIR}/src ${CMAKE_SOURCE_DIR})
  target_link_libraries(${S_NAME} PRIVATE ${S_LINK} Python3::Module)
  if(S_EXPORTS)
    target_link_options(${S_NAME} PRIVATE -Wl,--version-script=${S_EXPORTS})
    set_property(TARGET ${S_NAME} APPEND PROPERTY LINK_DEPENDS ${S_EXPORTS})
  endif()
  if(S_SOURCES)
    set_source_files_properties(${S_SOURCES} PROPERTIES COMPILE_OPTIONS "-Wall;-Wextra;-Werror")
  endif()
endfunction()
