# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause

# Installs the tree BUILT and moves it to PREFIX, so that absolute paths in it cause a failure.
file(REMOVE_RECURSE ${PREFIX} ${PREFIX}-first)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILT} --prefix ${PREFIX}-first
                COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
file(RENAME ${PREFIX}-first ${PREFIX})
