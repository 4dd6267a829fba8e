cmake_minimum_required(VERSION 3.25)
# Installs the build into a fresh prefix and checks that the programs, the menu entry and the
# icon land where desktops look for them. Run with -DBUILD=<build folder> -DWORK=<scratch>.
set(prefix ${WORK}/install-prefix)
file(REMOVE_RECURSE ${prefix})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix}
                RESULT_VARIABLE result OUTPUT_QUIET)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "cmake --install failed: ${result}")
endif()
file(GLOB_RECURSE installed RELATIVE ${prefix} ${prefix}/*)
list(SORT installed)
set(expected
  bin/orvane
  bin/orvane-tool
  share/applications/orvane.desktop
  share/icons/hicolor/scalable/apps/orvane.svg)
if(NOT installed STREQUAL expected)
  message(FATAL_ERROR "installed: ${installed}\nexpected: ${expected}")
endif()
foreach(program bin/orvane bin/orvane-tool)
  execute_process(COMMAND ${prefix}/${program} --version RESULT_VARIABLE result OUTPUT_QUIET)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${program} --version: ${result}")
  endif()
endforeach()
file(STRINGS ${prefix}/share/applications/orvane.desktop lines)
foreach(line "Exec=orvane" "Icon=orvane" "Type=Application")
  if(NOT line IN_LIST lines)
    message(FATAL_ERROR "orvane.desktop lacks ${line}")
  endif()
endforeach()
file(REMOVE_RECURSE ${prefix})
