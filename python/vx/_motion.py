# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Motion between two pictures."""

from __future__ import annotations

import dataclasses
import fractions
import os
from typing import Any, Literal, NamedTuple

import numpy

from . import _vx
from ._types import Order, OutT, Picture, PictureT, Progress

Path = str | os.PathLike[str]
Luma = tuple[float, float, float]
Time = int | fractions.Fraction | tuple[int, int]


def flow(a: Picture, b: Picture, *, resolution: float = 0.2, detail: float = 500,
         smoothing: float = 500, block: int = 6, smooth_passes: int = 5,
         error_threshold: float = 0.01, backward: bool = False, progress: Progress | None = None,
         order: Order = "rgba") -> numpy.ndarray:
    """Returns the motion from one picture to another: height x width x 2 of float32, u and v.

    Pixel (x, y) of a corresponds to the position (x + u, y + v) of b: pixels, u to the right, v
    downwards. Unknown vectors are NaN. docs/flow.md explains the settings.

    a, b: pictures of the same size and depth. Alpha has no effect.
    resolution: the motion is estimated in pictures reduced to this part of their size, 0.05..1.
    detail: smoothness of the motion of blocks, -1000..1000. Less follows the pictures, more the
    neighbours.
    smoothing: smoothness of the motion of pixels, as detail.
    block: side of a block in pixels of the reduced pictures, 4..40.
    smooth_passes: number of passes of the last smoothing, 1..50.
    error_threshold: blocks whose mean difference is smaller keep their motion, 0..0.1; 1 is white.
    backward: return the motion from b to a, on the pixels of b.
    progress: is called with (0, 0), only to stop the call.

    Uses all processors; calls on several threads take turns. The result is the same for any number
    of processors. Raises TypeError, ValueError, vx.Error, MemoryError.
    """
    return _vx.flow(a, b, resolution, detail, smoothing, block, smooth_passes, error_threshold,
                    backward, progress, order)


def tween(a: PictureT, b: Picture, at: float = 0.5, *, method: str = "motion",
          quality: str = "standard", sinc: bool = False,
          resolution: float = 0.2, detail: float = 500, smoothing: float = 500, block: int = 6,
          smooth_passes: int = 5, error_threshold: float = 0.01, shutter_angle: float = 180,
          shutter_samples: int = 1, cache: bool | Path = False, progress: Progress | None = None,
          out: OutT | None = None, order: Order = "rgba") -> PictureT | OutT:
    """Returns the picture of an instant between two pictures. docs/tween.md explains the settings.

    a, b: pictures of the same size and depth.
    at: the instant, 0..1; 0 is a, 1 is b, both are copied exactly.
    method: "motion" moves pixels along the motion, "mix" mixes both pictures by time, "copy" takes
    the nearer one.
    quality: "standard", or "high", which estimates a motion of its own for each pixel in full size: better, slower. Of
        the settings below it reads only the shutter.
    sinc: sample the pictures with a windowed sinc, not bilinearly.
    resolution to error_threshold: as in flow().
    shutter_angle: 0..360 degrees, the part of the interval that shutter_samples cover.
    shutter_samples: number of instants around `at` that are averaged, 1..20.
    cache: True keeps the motion in memory for other instants of the same pictures, see
    motion_cache(). A folder stores it in a file too, for later runs. docs/motion-cache.md explains
    both. The result is the same.
    progress: is called with (0, 0), only to stop the call.

    Uses all processors; calls on several threads take turns. The result is the same for any number
    of processors. Warns (UserWarning) about files of motion that cannot be used or written. Raises
    TypeError, ValueError, vx.Error, MemoryError.
    """
    return _vx.tween(a, b, at, method, quality, sinc, resolution, detail, smoothing, block, smooth_passes,
                     error_threshold, shutter_angle, shutter_samples, cache, progress, out, order)


@dataclasses.dataclass(kw_only=True)
class AdvancedFrameBlending:
    """Settings for the pictures of instants of a clip, as hosts use them. Attributes can be changed.

    The instant is rounded to multiples of 0.005; tween() does not round. docs/tween.md explains the
    settings.

    method to shutter_samples: as in tween().
    luma: weights of red, green and blue in the luminance, 0..1. Their sum is 1 within 0.02.
    mode: 0..3; has no effect.
    instant: the fraction is the position between the pictures: 0 is a. A whole number gives a, not
    b.
    time_a, time_b: times of the pictures in seconds: int, Fraction or (value, scale), where value
    is in -2147483648..2147483647 and scale in 1..4294967295.
    identity: 16 bytes that identify the clip for the cache of motion, see motion_cache(). Motion is
    found again if identity, times, size, depth and the settings of the estimate are equal. The
    pixels are not compared. "contents" makes an identity from the pixels of both pictures. None, or
    bytes that are all 0: the motion is not kept.
    """

    method: str = "motion"
    sinc: bool = False
    resolution: float = 0.2
    detail: float = 500
    smoothing: float = 500
    block: int = 6
    smooth_passes: int = 5
    error_threshold: float = 0.01
    shutter_angle: float = 180
    shutter_samples: int = 1
    luma: Luma = (0.2988804, 0.58676529, 0.11435428)
    mode: int = 0
    instant: float = 0
    time_a: Time = 0
    time_b: Time = 1
    identity: bytes | Literal["contents"] | None = None

    @classmethod
    def from_percentages(cls, *, resolution: float, error_threshold: float, luma: Luma,
                         **others: Any) -> AdvancedFrameBlending:
        """Makes an object from percentages: each is multiplied by the 32-bit float 0.01.

        Other attributes are set as they are. The range is not checked. Raises TypeError,
        ValueError.
        """
        resolution, error_threshold, luma = _vx.frame_blending_fractions(
            resolution, error_threshold, luma)
        return cls(resolution=resolution, error_threshold=error_threshold, luma=luma, **others)

    def check_range(self) -> None:
        """Raises TypeError or ValueError, with its name, for an attribute that is out of range."""
        _vx.check_frame_blending(self)

    def render(self, a: PictureT, b: Picture, *, progress: Progress | None = None,
               out: OutT | None = None, order: Order = "rgba") -> PictureT | OutT:
        """Returns the picture of the instant between a and b, of the same size and depth.

        progress is called with (0, 0), only to stop the call. Threads as in tween(). An object is
        used by one thread at a time. Raises TypeError, ValueError, vx.Error, MemoryError.
        """
        return _vx.render_frame_blending(self, a, b, progress, out, order)


class MotionCache(NamedTuple):
    """The motion that tween(cache=...) keeps.

    entries: number of pairs of pictures.
    memory, disk: bytes in memory and in temporary files.
    found, read, estimated: since the start of the process, how often motion was found there, was
    read from a folder, and was estimated.
    """

    entries: int
    memory: int
    disk: int
    found: int
    read: int
    estimated: int


def motion_cache(*, memory: int | None = None, clear: bool = False) -> MotionCache:
    """Returns what the cache of motion contains.

    memory: sets the limit of its memory in bytes; 268435456 at the start. Motion that was not used
    for the longest time is moved to temporary files. None changes nothing.
    clear: empty the cache first. Files in folders are not deleted.

    Thread-safe. Raises TypeError, ValueError.
    """
    return MotionCache(*_vx.motion_cache(memory, clear))


def predict(src: PictureT, field: numpy.ndarray, *, out: OutT | None = None,
            order: Order = "rgba") -> PictureT | OutT:
    """Moves a picture: pixel (x, y) of the result is src at (x + u, y + v), bilinear.

    predict(b, flow(a, b)) looks like a. Positions outside of the picture give the nearest pixel,
    unknown vectors the pixel (x, y).

    src: any depth.
    field: height x width x 2 of float32, with height and width of src.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.predict(src, field, out, order)


def draw_flow(field: numpy.ndarray, *, longest: float = 0, arrows: int = 0, depth: int = 8,
              out: OutT | None = None, order: Order = "rgba") -> numpy.ndarray | OutT:
    """Returns a picture of the motion: the hue is the direction, the brightness the length.

    Red is to the right, yellow-green down, cyan left, violet up. Unknown vectors are transparent.

    field: height x width x 2 of float32.
    longest: length in pixels that has full brightness. 0: the length of the longest vector.
    arrows: distance between arrows in pixels. Their length is in proportion to the vector. 0: no
    arrows.
    depth: 8, 16 or 32 bits per channel of the result.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.draw_flow(field, longest, arrows, depth, out, order)


def read_flow(path: Path) -> numpy.ndarray:
    """Reads motion from a file: height x width x 2 of float32, as flow() returns it.

    path: a .flo, or an .exr with the channels u and v.

    Raises FileNotFoundError, OSError, TypeError, vx.Error, MemoryError.
    """
    return _vx.read_flow(path)


def write_flow(path: Path, field: numpy.ndarray, *, overwrite: bool = True) -> None:
    """Writes motion to a file. The file is complete or unchanged.

    path: .flo, in which unknown vectors are 1e10, or .exr, in which they are NaN.
    field: height x width x 2 of float32.
    overwrite: False refuses to replace an existing file.

    Raises TypeError, ValueError, OSError, vx.Error.
    """
    _vx.write_flow(path, field, overwrite)
