#!/usr/bin/env bash
# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
#
# types.sh PYTHON MODULES ALLOWED: the stub describes the compiled part, the Python part passes mypy,
# and so does typed_calls.py, a program of a user, with all checks of mypy.
set -euo pipefail
python=$1
cache=$(mktemp -d)
program=$(dirname "$(realpath "$0")")/typed_calls.py
trap 'rm -rf "$cache"' EXIT
cd "$2"
MYPY_CACHE_DIR=$cache "$python" -m mypy.stubtest vx._vx --allowlist "$3"
MYPY_CACHE_DIR=$cache "$python" -m mypy vx
MYPY_CACHE_DIR=$cache "$python" -m mypy --strict --follow-imports silent "$program"
