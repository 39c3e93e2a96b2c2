# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause

# with_pkg_config.sh COMPILER SOURCE PROGRAM [FLAGS]: what a Makefile would do.
compiler=$1 source=$2 program=$3
shift 3
# shellcheck disable=SC2046
$compiler -std=c++20 "$@" "$source" -o "$program" $(pkg-config --cflags --libs vx vx-host)
"$program"
