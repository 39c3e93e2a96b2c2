# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Pictures and sequences of pictures from files and to files."""

from __future__ import annotations

import os
from collections.abc import Iterator
from typing import Any, Literal, NamedTuple

from . import _vx
from ._types import Order, Picture

Path = str | os.PathLike[str]
Alpha = Literal["file", "straight", "premultiplied", "ignore"]


class Read(NamedTuple):
    """What read_all() gives."""

    picture: Picture
    metadata: _vx.Metadata
    has_alpha: bool


class Frame(NamedTuple):
    """What frames() gives for each frame."""

    number: int
    path: str
    picture: Picture
    metadata: _vx.Metadata


def read_all(path: Path, *, depth: int | None = None, alpha: Alpha = "file", world: bool = False,
             order: Order = "rgba") -> Read:
    """The first picture of a file, its metadata, and whether it has an alpha channel.

    depth: 8, 16 or 32 bits a channel; None is the depth of the file.
    alpha: how colours are taken: as the file says, as straight, as multiplied by alpha, or with
    alpha ignored.
    world: give a World in place of an array.

    What is lost or guessed comes as a UserWarning that names the file. Raises FileNotFoundError,
    OSError, Error, MemoryError.
    """
    return Read(*_vx.read(path, depth, alpha, world, order))


def read(path: Path, *, depth: int | None = None, alpha: Alpha = "file", world: bool = False,
         order: Order = "rgba") -> Picture:
    """The picture of read_all() alone: height x width x 4 of uint8, uint16 or float32."""
    return _vx.read(path, depth, alpha, world, order)[0]


def write(path: Path, picture: Picture, *, metadata: _vx.Metadata | None = None,
          keep_alpha: bool = False, overwrite: bool = True, strict: bool = False,
          order: Order = "rgba") -> None:
    """Writes a whole file or nothing; the extension decides the format.

    metadata: of a picture that was read; its profile and attributes are kept.
    keep_alpha: store alpha also when every pixel is opaque.
    overwrite: False refuses a file that is there.
    strict: what would be a UserWarning (a depth that the format does not hold) raises OSError.
    """
    _vx.write(path, picture, metadata, keep_alpha, overwrite, strict, order)


def info(path: Path) -> dict[str, Any]:
    """What a file says about itself, without its pixels."""
    return _vx.info(path)


def frames(path: Path, frames: str | None = None, *, depth: int | None = None,
           alpha: Alpha = "file", world: bool = False, order: Order = "rgba") -> Iterator[Frame]:
    """The frames of a sequence, one after the other, read when they are asked for.

    path: "shot.####.png" or "shot.%04d.png"; a name without a place for the number is one frame,
    number 0.
    frames: "1-10,20-40x2"; None is all that are on the disk.

    Raises FileNotFoundError for a pattern that no file fits and at a frame that is missing.
    """
    if _vx.is_pattern(path) and not os.path.exists(path):
        files = _vx.frame_files(path, frames)
        if not files:
            raise FileNotFoundError(f"{os.fspath(path)}: no file fits")
    else:
        files = [(0, os.fspath(path))]
    for number, name in files:
        picture, metadata, _ = _vx.read(name, depth, alpha, world, order)
        yield Frame(number, name, picture, metadata)
