# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Reads pictures, sequences and clips from files or from bytes, and writes pictures and clips.

Thread-safe: calls on different files, and any calls on bytes, may run at once.
"""

from __future__ import annotations

import os
from collections.abc import Iterator
from fractions import Fraction
from types import TracebackType
from typing import Any, Generic, Literal, NamedTuple, TypeVar, overload

import numpy

from . import _vx
from ._types import Order, Picture

Path = str | os.PathLike[str]
Data = bytes | bytearray | memoryview
Alpha = Literal["file", "straight", "premultiplied", "ignore"]

FilePictureT = TypeVar("FilePictureT", bound=Picture, covariant=True)


class Read(NamedTuple, Generic[FilePictureT]):
    """The result of read_all().

    metadata.data_window is the area of the picture, metadata.display_window the frame of the file;
    they differ in some EXR files.
    """

    picture: FilePictureT
    metadata: _vx.Metadata
    has_alpha: bool


class Frame(NamedTuple, Generic[FilePictureT]):
    """A frame returned by frames().

    number: number of the frame.
    path: file of the frame, or the clip.
    picture: an array or a World.
    metadata: Metadata of the file.
    time: seconds from the start of the clip. None in a sequence, and for a frame without a time.
    """

    number: int
    path: str
    picture: FilePictureT
    metadata: _vx.Metadata
    time: float | None = None


@overload
def read_all(path: Path | Data, *, depth: int | None = ..., alpha: Alpha = ...,
             world: Literal[False] = ..., order: Order = ...) -> Read[numpy.ndarray]: ...
@overload
def read_all(path: Path | Data, *, depth: int | None = ..., alpha: Alpha = ...,
             world: Literal[True], order: Order = ...) -> Read[_vx.World]: ...
@overload
def read_all(path: Path | Data, *, depth: int | None = ..., alpha: Alpha = ...,
             world: bool, order: Order = ...) -> Read[Picture]: ...
def read_all(path: Path | Data, *, depth: int | None = None, alpha: Alpha = "file", world: bool = False,
             order: Order = "rgba") -> Read[Any]:
    """Returns the first picture of a file, its metadata, and whether it has an alpha channel.

    path: file of any format that the library reads; "file.exr@NAME" is a layer, part or channel of
    an EXR. Or the contents of a file as bytes, bytearray or memoryview, of all formats but tga, which
    has no signature; messages name them "data".
    depth: 8, 16 or 32 bits per channel. None: the depth of the file.
    alpha: how the colours of the file are interpreted: "file" as the file declares, "straight",
    "premultiplied" by alpha, or "ignore" for no alpha.
    world: return a World instead of an array.

    Warns with UserWarning, which names the file, if something is lost or assumed. Raises
    FileNotFoundError, OSError, TypeError, ValueError, vx.Error, MemoryError.
    """
    return Read(*_vx.read(path, depth, alpha, world, order))


@overload
def read(path: Path | Data, *, depth: int | None = ..., alpha: Alpha = ...,
         world: Literal[False] = ..., order: Order = ...) -> numpy.ndarray: ...
@overload
def read(path: Path | Data, *, depth: int | None = ..., alpha: Alpha = ...,
         world: Literal[True], order: Order = ...) -> _vx.World: ...
@overload
def read(path: Path | Data, *, depth: int | None = ..., alpha: Alpha = ...,
         world: bool, order: Order = ...) -> Picture: ...
def read(path: Path | Data, *, depth: int | None = None, alpha: Alpha = "file", world: bool = False,
         order: Order = "rgba") -> Picture:
    """Returns the picture of read_all(): height x width x 4 of uint8, uint16 or float32.

    path, depth, alpha, world: as in read_all().

    Raises FileNotFoundError, OSError, TypeError, ValueError, vx.Error, MemoryError.
    """
    return _vx.read(path, depth, alpha, world, order)[0]


def write(path: Path, picture: Picture, *, metadata: _vx.Metadata | None = None,
          keep_alpha: bool = False, overwrite: bool = True, strict: bool = False,
          order: Order = "rgba", bits: int | str | None = None, compression: str | None = None,
          quality: int | None = None) -> None:
    """Writes a picture to a file. The file is complete or unchanged.

    path: the extension selects the format.
    picture: any depth. A grey array is written as a grey file if the format has such files and
    keep_alpha is False.
    metadata: Metadata of a picture that was read; its profile and attributes are written.
    keep_alpha: store alpha even if every pixel is opaque.
    overwrite: False refuses to replace an existing file.
    strict: raise OSError instead of a UserWarning, for example for a depth that the format does not
    support.
    bits: per sample in the file: 8, 10, 12, 16, "half" or "float". None: half, 10 and 12 bits are
    kept if metadata is from a file of the same format; else the bits of the picture.
    compression: a name, or a name and a level: "zip", "zip:9", "dwaa:45". None: that of the file
    that metadata is from if it has the same format; else the default of the format.
    `vx list formats` lists the bits and compressions of each format.
    quality: of a JPEG, 1 to 100. None: 95.

    Raises TypeError, ValueError, OSError, vx.Error. After an error an existing file is unchanged.
    """
    options = (metadata, keep_alpha, strict, bits, compression, quality)
    _vx.write(path, picture, options, overwrite, order)


def encode(picture: Picture, format: str, *, metadata: _vx.Metadata | None = None,
           keep_alpha: bool = False, strict: bool = False, order: Order = "rgba",
           bits: int | str | None = None, compression: str | None = None,
           quality: int | None = None) -> bytes:
    """Returns the bytes of a file that write() would write. read() converts them to a picture.

    picture: any depth.
    format: a name or an extension: "png", "jpeg", "jpg". `vx list formats` lists them.
    metadata, keep_alpha, strict, bits, compression, quality: as in write().

    Raises TypeError, ValueError, OSError, vx.Error.
    """
    options = (metadata, keep_alpha, strict, bits, compression, quality)
    return _vx.encode(picture, format, options, order)


def info(path: Path | Data) -> dict[str, Any]:
    """Returns the properties of a picture or a clip. Pixels are not read.

    All files: format, width and height (upright), depth (of the arrays that read() and
    frames() return), alpha ("none", "straight" or "premultiplied").
    Pictures: data_window (of the array) and display_window (the frame), both (left, top, right,
    bottom); they differ in some EXR files. channels, sample_type, parts, layers (names
    for "file.exr@NAME"), profile, metadata.
    Clips: codec, pixel_format, bits (per sample), frame_rate (a Fraction, or None), frame_count
    (from the file, or None if the file does not contain it), duration (in seconds, or None),
    pixel_aspect (a Fraction, width / height), matrix, matrix_tagged, full_range.

    path: the file, or its contents as in read_all().

    Raises FileNotFoundError, OSError, TypeError, ValueError.
    """
    return _vx.info(path)


@overload
def frames(path: Path, frames: str | None = ..., *, depth: int | None = ..., alpha: Alpha = ...,
           world: Literal[False] = ..., order: Order = ...) -> Iterator[Frame[numpy.ndarray]]: ...
@overload
def frames(path: Path, frames: str | None = ..., *, depth: int | None = ..., alpha: Alpha = ...,
           world: Literal[True], order: Order = ...) -> Iterator[Frame[_vx.World]]: ...
@overload
def frames(path: Path, frames: str | None = ..., *, depth: int | None = ..., alpha: Alpha = ...,
           world: bool, order: Order = ...) -> Iterator[Frame[Picture]]: ...
def frames(path: Path, frames: str | None = None, *, depth: int | None = None,
           alpha: Alpha = "file", world: bool = False, order: Order = "rgba") -> Iterator[Frame[Any]]:
    """Returns an iterator over the frames of a sequence or a clip; it reads one frame at a time.

    path: "shot.####.png" or "shot.%04d.png" for a sequence; a picture, which is one frame with
    number 0; or a clip: Matroska, MOV, MP4, AVI or another container that FFmpeg's libraries read.
    The frames of a clip are numbered from 0, in stored form. The clip is closed when the iterator
    is deleted.
    frames: frame numbers such as "1-10,20-40x2". None: all frames on disk or in the clip. To reach
    a frame of a clip, the frames from the nearest key frame on are decoded if an index shows it
    (Matroska, MOV and MP4), else all frames before it.
    depth: 8, 16 or 32 bits per channel. None: the depth of the file; for a clip 8, or 16 if its
    samples have more than 8 bits.
    alpha, world: as in read_all().

    Raises FileNotFoundError for a missing file, a pattern without files, or a missing frame of a
    sequence; ValueError for a frame number that a clip does not contain; OSError for a damaged
    frame.
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


def _clip_frames(name: str, numbers: list[int] | None, how: tuple[Any, ...]) -> Iterator[Frame[Any]]:
    clip = _vx.Clip(name)
    try:
        if numbers is None:
            while (frame := clip.next(*how)) is not None:
                yield Frame(frame[0], name, *frame[1:])
            return
        for number in numbers:
            clip.seek(number)
            frame = clip.next(*how)
            if frame is None:
                raise ValueError(f"frames: {number} is not in {name}, which has {clip.position} "
                                 f"frames, from 0")
            yield Frame(frame[0], name, *frame[1:])
    finally:
        clip.close()


class ClipWriter:
    """Writes pictures as the frames of a video clip. Use it in a `with` statement.

    The clip appears under its name, complete, when the block ends. If the block ends by an
    exception, nothing appears and an existing file is unchanged.

        with vx.ClipWriter("out.mkv", 25) as clip:
            for frame in vx.frames("shot.####.png"):
                clip.write(frame.picture)

    path: the extension selects the container: mkv, mov, webm or mp4.
    fps: frames per second, such as 25 or Fraction(24000, 1001). A float is converted to the nearest
    fraction with a denominator of at most 1001.
    codec: "ffv1", "prores4444", "png", "vp9" or "h264". None: the default of the container, which
    is ffv1, prores4444, vp9 and h264.
    bits: bits per sample. None: those of the codec for the depth of the first picture.
    quality: constant rate factor of vp9 (0 to 63) and h264 (0 to 51); lower is better.
    alpha: whether alpha is stored. None: if the first picture has a pixel that is not opaque.
    overwrite: False: refuse to replace a file.
    strict: raise OSError instead of issuing a warning.

    Raises ValueError for options that the container or the codec does not have, OSError if the file
    cannot be written.
    """

    def __init__(self, path: Path, fps: int | float | Fraction, *, codec: str | None = None,
                 bits: int | None = None, quality: int | None = None, alpha: bool | None = None,
                 overwrite: bool = True, strict: bool = False) -> None:
        rate = Fraction(fps).limit_denominator(1001)
        if not 0 < rate <= 1_000_000:
            raise ValueError(f"fps: {fps} is not a frame rate")
        self._writer = _vx.ClipWriter(path, (rate.numerator, rate.denominator), codec, bits, quality, alpha,
                                      overwrite, strict)

    def write(self, picture: Picture, *, order: Order = "rgba") -> None:
        """Appends a frame.

        picture: an array or a World of 8, 16 or 32 bits. All pictures of a clip have one size.

        Raises OSError if the picture does not fit the clip or the file cannot be written; the clip
        then cannot be completed.
        """
        self._writer.write(picture, order)

    def close(self) -> None:
        """Completes the clip. Raises OSError if no frame was written. The end of `with` calls it."""
        self._writer.finish()

    def discard(self) -> None:
        """Removes the clip that was begun."""
        self._writer.discard()

    def __enter__(self) -> ClipWriter:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 traceback: TracebackType | None) -> None:
        if kind is None:
            self.close()
        else:
            self.discard()
