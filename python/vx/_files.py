# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Pictures, sequences of pictures and clips from files; pictures to files."""

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
    """What frames() gives for each frame.

    path: of the frame's file, or of the clip. time: in seconds since the start of the clip; None in
    a sequence, and for a frame of a clip that has none.
    """

    number: int
    path: str
    picture: Picture
    metadata: _vx.Metadata
    time: float | None = None


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
    """The picture of read_all() alone: height x width x 4 of uint8, uint16 or float32.

    Raises FileNotFoundError, OSError, Error, MemoryError.
    """
    return _vx.read(path, depth, alpha, world, order)[0]


def write(path: Path, picture: Picture, *, metadata: _vx.Metadata | None = None,
          keep_alpha: bool = False, overwrite: bool = True, strict: bool = False,
          order: Order = "rgba") -> None:
    """Writes a whole file or nothing; the extension decides the format.

    metadata: of a picture that was read; its profile and attributes are kept.
    keep_alpha: store alpha also when every pixel is opaque.
    overwrite: False refuses a file that is there.
    strict: what would be a UserWarning (a depth that the format does not hold) raises OSError.

    Raises TypeError, ValueError, OSError, Error; the file that was there then stays.
    """
    _vx.write(path, picture, metadata, keep_alpha, overwrite, strict, order)


def info(path: Path) -> dict[str, Any]:
    """What a picture or a clip says about itself, without its pixels.

    Both have format, width, height (upright), depth (of the arrays that read() and frames() give)
    and alpha ("none", "straight", "premultiplied"). Pictures also channels, sample_type, parts,
    profile and metadata. Clips also codec, pixel_format, bits (a sample), frame_rate (a Fraction,
    or None), frame_count (as the file says, or None when it does not), duration (in seconds, or
    None), pixel_aspect (a Fraction, width over height), matrix, matrix_tagged, full_range.

    Raises FileNotFoundError, OSError.
    """
    return _vx.info(path)


def frames(path: Path, frames: str | None = None, *, depth: int | None = None,
           alpha: Alpha = "file", world: bool = False, order: Order = "rgba") -> Iterator[Frame]:
    """The frames of a sequence or a clip, one after the other, read when they are asked for.

    path: "shot.####.png" or "shot.%04d.png" for a sequence; a picture, which is one frame of
    number 0; or a clip: a file of Matroska, MOV, MP4, AVI or another container that FFmpeg's
    libraries read. The frames of a clip are numbered from 0 and come as they are stored; it is
    closed when the iterator is dropped.
    frames: "1-10,20-40x2"; None is all that are on the disk, or in the clip. To come to a frame of
    a clip all before it are decoded, and a number below the last one starts again.
    depth: 8, 16 or 32 bits a channel; None is the depth of the file, for a clip 8 bits, or 16 when
    its samples are deeper.

    Raises FileNotFoundError for a file that is missing, a pattern that no file fits, and at a frame
    of a sequence that is missing; ValueError at a frame that a clip does not have; OSError at one
    that is damaged.
    """
    if _vx.is_pattern(path) and not os.path.exists(path):
        files = _vx.frame_files(path, frames)
        if not files:
            raise FileNotFoundError(f"{os.fspath(path)}: no file fits")
        for number, name in files:
            picture, metadata, _ = _vx.read(name, depth, alpha, world, order)
            yield Frame(number, name, picture, metadata)
        return
    name = os.fsdecode(path)
    numbers = None if frames is None else _vx.parse_frames(frames)
    if not _vx.is_picture(path):
        yield from _clip_frames(name, numbers, (depth, alpha, world, order))
        return
    for number in [0] if numbers is None else numbers:
        if number != 0:
            raise ValueError(f"frames: {number} is not in {name}, which is one picture, number 0")
        picture, metadata, _ = _vx.read(name, depth, alpha, world, order)
        yield Frame(0, name, picture, metadata)


def _clip_frames(name: str, numbers: list[int] | None, how: tuple[Any, ...]) -> Iterator[Frame]:
    clip = _vx.Clip(name)
    try:
        if numbers is None:
            while (frame := clip.next(*how)) is not None:
                yield Frame(frame[0], name, *frame[1:])
            return
        for number in numbers:
            if number < clip.position:
                clip = _vx.Clip(name)
            while clip.position < number and clip.skip():
                pass
            frame = clip.next(*how)
            if frame is None:
                raise ValueError(f"frames: {number} is not in {name}, which has {clip.position} "
                                 f"frames, from 0")
            yield Frame(frame[0], name, *frame[1:])
    finally:
        clip.close()
