# Shared build rules. Each subsystem folder is one static library made of every .cpp in it,
# so adding a file needs no edit here.

function(orvane_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
  # GCC 12 at -O3 reports std::string concatenation as overlapping copies (its bug 105329);
  # the warning would fail release builds on correct code.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
endfunction()

# orvane_library(<name> [EXCLUDE file...] [DEPS target...])
function(orvane_library name)
  cmake_parse_arguments(ARG "" "" "EXCLUDE;DEPS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  foreach(ex IN LISTS ARG_EXCLUDE)
    list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/${ex})
  endforeach()
  add_library(${name} STATIC ${sources})
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR} ${CMAKE_BINARY_DIR}/generated)
  target_link_libraries(${name} PUBLIC ${ARG_DEPS})
  orvane_warnings(${name})
endfunction()
