# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause

# Flags of all targets. Results must be equal on every machine: no contraction, no fast-math.
# -fno-trapping-math and -fno-math-errno change no result, because the code does not use floating-point
# exception flags or errno. They allow the compiler to select between two computed values without a branch.
# -Wno-psabi: vectors wider than a register are passed only within a library, never across its interface.
add_library(vx_flags INTERFACE)
target_compile_options(vx_flags INTERFACE -Wall -Wextra -Wpedantic -ffp-contract=off
                                          -fno-trapping-math -fno-math-errno -Wno-psabi)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  # g++ 12 reports false overlaps for "text" + std::to_string(n).
  target_compile_options(vx_flags INTERFACE -Wno-restrict)
endif()
target_include_directories(vx_flags INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
if(VX_WERROR)
  target_compile_options(vx_flags INTERFACE -Werror)
endif()
if(VX_SANITIZE)
  target_compile_options(vx_flags INTERFACE -fsanitize=${VX_SANITIZE} -fno-sanitize-recover=all
                                            -fno-omit-frame-pointer -g1)
  target_link_options(vx_flags INTERFACE -fsanitize=${VX_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # g++ 12 reports empty std::optional arguments falsely in instrumented code.
    target_compile_options(vx_flags INTERFACE -Wno-maybe-uninitialized)
  endif()
endif()
