#!/usr/bin/env bash
# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
#
# wheel.sh PYTHON SOURCE BUILD: a wheel out of a build tree works in a virtual environment of its own,
# with the libraries that it brought.
set -euo pipefail
python=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
unset PYTHONPATH LD_LIBRARY_PATH
export PIP_NO_INDEX=1 PIP_DISABLE_PIP_VERSION_CHECK=1 PIP_NO_CACHE_DIR=1
cp -rL "$2/python" "$scratch/python"
VX_BUILD_DIR=$3 "$python" -m pip wheel --quiet --no-build-isolation --no-deps \
  --wheel-dir "$scratch" "$scratch/python"
"$python" -m venv --system-site-packages "$scratch/venv"
"$scratch/venv/bin/pip" install --quiet "$scratch"/vx-*.whl
cd "$scratch/venv"
bin/python - <<'PYTHON'
import importlib.metadata
import pathlib
import sys

import numpy
import vx

assert pathlib.Path(vx.__file__).is_relative_to(sys.prefix), vx.__file__
assert importlib.metadata.version("vx") == vx.__version__
red = vx.fill(numpy.zeros((4, 5, 3), numpy.uint8), (255, 0, 0))
assert red.shape == (4, 5, 4) and (red == (255, 0, 0, 255)).all()
vx.write("red.png", red)
assert (vx.read("red.png") == red).all()
loaded = {line.split()[-1] for line in open("/proc/self/maps") if "/libVX" in line}
assert len(loaded) == 4 and all(path.startswith(sys.prefix) for path in loaded), loaded
assert (pathlib.Path(vx.__file__).parent / "py.typed").exists()
assert [(pathlib.Path(m.path).name, m.error) for m in vx.host.modules()] == [("parallel.RZX", "")]
PYTHON
