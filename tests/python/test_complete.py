# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Every export of the headers is used by the Python module or listed in a table of docs/python.md."""

import fnmatch
import pathlib
import re

import vx
from vx import _vx

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROMISED = re.compile(r"(?:class|struct) VX_API (\w+)(?= *[:{])|VX_API [^;(){}]*?(\w+) ?(?:\(|\[|;)")
PIXELS = {"VX_Pixel8", "VX_Pixel16", "VX_PixelFloat"}  # represented by arrays


def code(folder, suffix):
    text = "".join(path.read_text() for path in sorted((ROOT / folder).glob(f"*{suffix}")))
    return re.sub(r"//.*|^#.*", "", text, flags=re.M)


def test_every_export_has_a_function_or_a_reason():
    exported = {a or b for a, b in PROMISED.findall(code("include/VX", ".h"))} - PIXELS
    assert len(exported) > 200
    called = set(re.findall(r"\bVXp?_\w+", code("python", ".cpp")))
    table = (ROOT / "docs" / "python.md").read_text().split("## C++ only")[1]
    patterns = [name for row in re.findall(r"^\| (`.*?) \|", table, re.M)
                for name in re.findall(r"`(.*?)`", row)]
    assert len(patterns) > 30
    without = exported - called
    told = {name for name in without if any(fnmatch.fnmatchcase(name, p) for p in patterns)}
    assert sorted(without - told) == []
    idle = [p for p in patterns if not fnmatch.filter(without, p)]
    assert idle == [], "named in the table, but exported no longer or reached"


def test_the_face_calls_all_of_the_compiled_half():
    face = "".join(path.read_text() for path in (ROOT / "python" / "vx").glob("*.py"))
    functions = {name for name, item in vars(_vx).items()
                 if callable(item) and not isinstance(item, type)}
    used = set(re.findall(r"_vx\.(\w+)", face)) | set(vx.__all__)
    assert functions - used == {"nothing", "transfer_seconds"}  # used by the benchmark
