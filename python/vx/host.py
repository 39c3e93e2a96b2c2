# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""The embedded host: processor, threads and modules, and lists of what the library contains.

Each set_...() function ends the library and starts it again. It raises RuntimeError while another
thread works on pixels. Arrays and worlds stay valid.
"""

from __future__ import annotations

import os
from collections.abc import Iterable
from typing import Literal, NamedTuple

from . import _vx

__all__ = ["Module", "Slot", "Suite", "build_level", "free_memory", "module_folders", "modules",
           "object_version", "processor", "set_module_folders", "set_processor", "set_threads", "slots",
           "suites", "threads"]

Level = Literal["none", "sse2", "all"]


def build_level() -> str:
    """Returns the processor level for which the loaded build of libVX was compiled.

    "baseline", "x86-64-v3" (AVX2) or "x86-64-v4" (AVX-512). The dynamic loader chooses the highest
    level of the processor. All builds give the same results.
    """
    return _vx.build_level()


def processor() -> str:
    """Returns the processor level that routines were selected for: "none", "sse2" or "all"."""
    return _vx.processor()


def set_processor(level: Level) -> None:
    """Selects routines for a processor level.

    level: "none", "sse2", or "all", which uses all instructions of this machine. Results are the
    same at every level.

    Raises TypeError, ValueError, RuntimeError.
    """
    _vx.set_processor(level)


def threads() -> int:
    """Returns the largest number of threads of one operation, the calling thread included.

    At first it is the number of processors that the process may use.
    """
    return _vx.threads()


def set_threads(count: int) -> None:
    """Sets the largest number of threads of an operation, of motion estimation, and of the reading
    and writing of a file.

    count: 1..1024; 1: everything runs on the calling thread. Motion estimation uses at most 256.

    The number does not change the results. Functions that the library calls, such as progress, are
    called on the calling thread. The exception is the function of vx.iterate_generic.

    Raises TypeError, ValueError, RuntimeError.
    """
    _vx.set_threads(count)


def module_folders() -> list[str]:
    """Returns the folders that are searched for acceleration modules."""
    return _vx.module_folders()


def set_module_folders(folders: Iterable[str | os.PathLike[str]]) -> None:
    """Sets the folders that are searched for acceleration modules, and loads the modules.

    folders: a list of paths.

    A file that cannot be loaded is no error; modules() gives the reason.

    Raises TypeError; OSError for a folder that cannot be read; RuntimeError, vx.Error.
    """
    if isinstance(folders, str):
        raise TypeError(f"folders: a list of folders, not {folders!r}")
    paths = [os.fspath(folder) for folder in folders]
    for path in paths:
        os.listdir(path)
    _vx.set_module_folders(paths)


class Slot(NamedTuple):
    """A replaceable routine.

    number: number of the slot.
    name: name of the slot.
    signature: type of the routine.
    state: "built-in", "replaced", or "none" after vx.death().
    """

    number: int
    name: str
    signature: str
    state: str


def slots() -> list[Slot]:
    """Returns all replaceable routines."""
    return [Slot(*slot) for slot in _vx.slots()]


class Module(NamedTuple):
    """A file that the latest search for acceleration modules found.

    path: the file.
    routines: names of its routines; empty if it could not be opened.
    error: why it was not loaded; empty if it was.
    """

    path: str
    routines: list[str]
    error: str


def modules() -> list[Module]:
    """Returns the files that the latest search for acceleration modules found."""
    return [Module(*module) for module in _vx.modules()]


class Suite(NamedTuple):
    """A table of functions for plug-ins.

    name, version: identification of the suite.
    members: number of functions.
    """

    name: str
    version: int
    members: int


def suites() -> list[Suite]:
    """Returns all suites that the library has registered."""
    return [Suite(*suite) for suite in _vx.suites()]


def free_memory() -> None:
    """Frees the memory that blending keeps for later calls.

    Raises RuntimeError while another call runs.
    """
    _vx.free_memory()


def object_version() -> int:
    """Returns the version of the library, in the upper 16 bits of a 32-bit number."""
    return _vx.object_version()
