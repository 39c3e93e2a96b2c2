# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause

# with_pkg_config.sh COMPILER SOURCE PROGRAM [FLAGS]: compiles and runs a program, as a Makefile would: with the
# shared libraries, and with the static ones in a copy of the installed tree that contains no others.
compiler=$1 source=$2 program=$3
shift 3
# shellcheck disable=SC2046
$compiler -std=c++20 "$@" "$source" -o "$program" $(pkg-config --cflags --libs vx)
"$program"

libraries=$(pkg-config --variable=libdir vx)
archives=$program-static/$(basename "$libraries")
rm -rf "$program-static"
mkdir -p "$program-static"
cp -R "$libraries" "$libraries/../include" "$program-static"
rm "$archives"/*.so*
export PKG_CONFIG_PATH="$archives/pkgconfig"
# shellcheck disable=SC2046
$compiler -std=c++20 "$@" "$source" -o "$program-static/program" $(pkg-config --static --cflags --libs vx)
"$program-static/program"
