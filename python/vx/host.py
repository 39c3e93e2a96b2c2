# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""The embedded host: processor, threads, modules; and what the library is made of.

A change ends the library and starts it again, so it is refused with RuntimeError while another
thread works on pixels. Arrays and worlds stay as they are.
"""

from __future__ import annotations

import os
from collections.abc import Iterable
from typing import Literal, NamedTuple

from . import _vx

__all__ = ["Slot", "Suite", "free_memory", "module_folders", "object_version", "processor",
           "set_module_folders", "set_processor", "set_threads", "slots", "suites", "threads"]

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
    if isinstance(folders, str):
        raise TypeError(f"folders: a list of folders, not {folders!r}")
    _vx.set_module_folders([os.fspath(folder) for folder in folders])


class Slot(NamedTuple):
    """A replaceable routine: its number, name, type, and what stands there.

    state: "built-in", "replaced", "not-built", or "none" after vx.death().
    """

    number: int
    name: str
    signature: str
    state: str


def slots() -> list[Slot]:
    """Each replaceable routine."""
    return [Slot(*slot) for slot in _vx.slots()]


class Suite(NamedTuple):
    """A table of functions for plug-ins."""

    name: str
    version: int
    members: int


def suites() -> list[Suite]:
    """Each suite that the library has registered."""
    return [Suite(*suite) for suite in _vx.suites()]


def free_memory() -> None:
    """Gives back what blending keeps for the next call. RuntimeError while a call works."""
    _vx.free_memory()


def object_version() -> int:
    """The version of the library's records in the high half of a word."""
    return _vx.object_version()
