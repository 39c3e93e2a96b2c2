# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""The tutorial runs as written, and the page of calls agrees with the docstrings."""

import pathlib
import re
import subprocess
import sys

import vx

ROOT = pathlib.Path(__file__).resolve().parents[2]


def test_the_tutorial_runs_as_written(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    blocks = re.findall(r"```python\n(.*?)```", (ROOT / "docs" / "python.md").read_text(), re.S)
    assert len(blocks) > 8
    names = {}
    for block in blocks:
        exec(compile(block, "docs/python.md", "exec"), names)


def test_the_page_of_calls_is_up_to_date():
    subprocess.run([sys.executable, ROOT / "scripts" / "python-api", "--check"], check=True)
    for module in (vx, vx.uno, vx.host):
        for name in module.__all__:
            assert getattr(module, name).__doc__, name
