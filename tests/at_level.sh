#!/usr/bin/env bash
# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
#
# at_level.sh LEVEL PROGRAM ARGUMENTS...: runs a program with the build of libVX for one processor level:
# baseline, x86-64-v3 or x86-64-v4. Ends with 77 if this processor does not have the level. The program
# compares VX_TEST_BUILD with the build that was loaded.
set -euo pipefail
level=$1
shift
loader=/lib64/ld-linux-x86-64.so.2
# Not a pipe to grep -q: with pipefail it fails if grep ends before the loader has written everything.
levels=$("$loader" --help)
if [[ $level != baseline && $levels != *" $level (supported, searched)"* ]]; then
  printf 'This processor does not have the level %s.\n' "$level"
  exit 77
fi
VX_TEST_BUILD=$level exec "$loader" --glibc-hwcaps-mask "$level" "$@"
