# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause

# Libraries for newer processors. libVX is built once for the baseline and once per level in VX_LEVELS, into the
# folder lib/glibc-hwcaps/LEVEL. The dynamic loader searches these folders before lib/ and uses the highest
# level that the processor has.

set(vx_known_levels x86-64-v3 x86-64-v4)
set(vx_default_levels)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$" AND NOT VX_SANITIZE)
  set(vx_default_levels ${vx_known_levels})
endif()
set(VX_LEVELS "${vx_default_levels}" CACHE STRING
    "Processor levels to build besides the baseline: a list of ${vx_known_levels}, or empty")
foreach(level IN LISTS VX_LEVELS)
  if(NOT level IN_LIST vx_known_levels)
    message(FATAL_ERROR "VX_LEVELS: \"${level}\" is not one of: ${vx_known_levels}")
  endif()
endforeach()

# vx_for_level(LEVEL OUTPUT_NAME NAME OBJECTS OBJECT_LIBRARY... LIBRARY SHARED_LIBRARY): compiles for this
# level, and places the shared library where the loader searches.
function(vx_for_level level)
  cmake_parse_arguments(PARSE_ARGV 1 for "" "OUTPUT_NAME;LIBRARY" "OBJECTS")
  foreach(target IN LISTS for_OBJECTS for_LIBRARY)
    target_compile_options(${target} PRIVATE -march=${level})
  endforeach()
  set_target_properties(${for_LIBRARY} PROPERTIES
    OUTPUT_NAME ${for_OUTPUT_NAME}
    INSTALL_RPATH "$ORIGIN/../.."
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/glibc-hwcaps/${level})
  install(TARGETS ${for_LIBRARY}
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/glibc-hwcaps/${level} NAMELINK_SKIP)
endfunction()
