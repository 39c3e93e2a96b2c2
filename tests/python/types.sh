#!/usr/bin/env bash
# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
#
# types.sh PYTHON MODULES ALLOWED: the stub says what the compiled half holds, and the face passes
# mypy against it.
set -euo pipefail
python=$1
cache=$(mktemp -d)
trap 'rm -rf "$cache"' EXIT
cd "$2"
MYPY_CACHE_DIR=$cache "$python" -m mypy.stubtest vx._vx --allowlist "$3"
MYPY_CACHE_DIR=$cache "$python" -m mypy vx
