# One warning policy for every target of the project.
function(quvo_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wno-missing-field-initializers)
endfunction()

# A library of one src/ folder: sources, Qt dependencies, and the common include root.
function(quvo_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${QUVO_SOURCE_ROOT} ${CMAKE_BINARY_DIR}/generated)
  target_link_libraries(${name} PUBLIC ${ARG_LIBS})
  quvo_warnings(${name})
endfunction()
