# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""The embedded host: processor, threads, modules; and what the library is made of.

A change ends the library and starts it again, so it is refused with RuntimeError while another
thread works on pixels. Arrays and worlds stay as they are.
"""

from __future__ import annotations

import os
from collections.abc import Iterable
from typing import Literal

from . import _vx

__all__ = ["module_folders", "processor", "set_module_folders", "set_processor", "set_threads",
           "slots", "suites", "threads"]

Level = Literal["none", "sse2", "all"]


def processor() -> str:
    """The level that routines were chosen for: "none", "sse2" or "all"."""
    return _vx.processor()


def set_processor(level: Level) -> None:
    """Chooses routines as for a processor of that level; "all" is what this machine has."""
    _vx.set_processor(level)


def threads() -> int:
    """Threads on which the generic iterator may run; the built-in one runs on the caller's."""
    return _vx.threads()


def set_threads(count: int) -> None:
    """Sets threads(), 1..1024."""
    _vx.set_threads(count)


def module_folders() -> list[str]:
    """Folders that are searched for acceleration modules."""
    return _vx.module_folders()


def set_module_folders(folders: Iterable[str | os.PathLike[str]]) -> None:
    """Sets module_folders() and loads what is there."""
    _vx.set_module_folders([os.fspath(folder) for folder in folders])


def slots() -> list[tuple[int, str]]:
    """(number, name) of each replaceable routine."""
    return _vx.slots()


def suites() -> list[tuple[str, int, int]]:
    """(name, version, members) of each suite that the library has registered."""
    return _vx.suites()
