# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""The files of a checkout that the checks read."""

import os
import subprocess

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

# Ignored folders, for a checkout without git.
_IGNORED = {".git", "build", "demo-out", "__pycache__", ".cache"}


def _from_git(root):
    try:
        top = subprocess.run(["git", "-C", root, "rev-parse", "--show-toplevel"],
                             capture_output=True, text=True, check=True).stdout.strip()
        if os.path.realpath(top) != os.path.realpath(root):
            return None  # a folder inside another checkout
        listed = subprocess.run(
            ["git", "-C", root, "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
            capture_output=True, check=True).stdout
    except (OSError, subprocess.CalledProcessError):
        return None  # no git, no checkout, or git refuses it for this user
    return [os.fsdecode(name) for name in listed.split(b"\0") if name]


def _from_disk(root):
    found = []
    for folder, names, files in os.walk(root):
        names[:] = [n for n in names if n not in _IGNORED]
        found += [os.path.relpath(os.path.join(folder, f), root) for f in files]
    return found


def files(root=ROOT):
    """Returns sorted paths relative to `root` of all files that git tracks or does not ignore."""
    listed = _from_git(root)
    if listed is None:
        listed = _from_disk(root)
    return sorted(f for f in set(listed) if os.path.isfile(os.path.join(root, f)))


def read(root, path):
    """Returns the text of a file; invalid UTF-8 becomes replacement characters."""
    with open(os.path.join(root, path), encoding="utf-8", errors="replace", newline="") as f:
        return f.read()


def is_cpp(path):
    return path.endswith((".h", ".cpp", ".def", ".inc", ".cc", ".hpp"))
