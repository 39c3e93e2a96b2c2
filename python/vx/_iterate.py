# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Applies a Python function to pixels, rows or numbers.

An exception in the function stops the iteration and is raised unchanged. A World or an array in the
order ARGB keeps the pixels that were written before. The function runs with the interpreter's lock.
"""

from __future__ import annotations

from collections.abc import Callable
from typing import Any

from . import _vx
from ._types import Order, OutT, Picture, PictureT, Place, Progress, Rect


def iterate(dst: PictureT, function: Callable[..., Any], *, src: Picture | None = None,
            at: Place = (0, 0), rect: Rect | None = None, uncovered: bool = False,
            progress: Progress | None = None, out: OutT | None = None,
            order: Order = "rgba") -> PictureT | OutT:
    """Applies a function to each pixel of `rect` in dst. It takes about a microsecond per pixel.

    dst: any depth.
    function: function(x, y, pixel), or function(x, y, src_pixel, pixel) if there is a source.
    Pixels are tuples of four numbers in `order`, at the scale of the depth. The function returns
    the new pixel as four numbers, or three for an opaque pixel; None leaves the pixel unchanged.
    Rows are processed from top to bottom on the calling thread.
    src: a picture of the same depth.
    at: position of src in dst.
    rect: in dst.
    uncovered: call the function for pixels that src does not cover, too, with transparent black as
    src_pixel.
    progress: called after each row with (rows done, rows of dst).

    Raises TypeError, ValueError, vx.Error, and exceptions of the function.
    """
    return _vx.iterate(dst, function, src, at, rect, uncovered, progress, out, order)


def iterate_rows(dst: PictureT, function: Callable[..., Any], *, src: Picture | None = None,
                 at: Place = (0, 0), rect: Rect | None = None, uncovered: bool = False,
                 rows: int = 16, progress: Progress | None = None, out: OutT | None = None,
                 order: Order = "rgba") -> PictureT | OutT:
    """Applies a function to groups of rows in `rect` of dst, so that NumPy can process many pixels.

    dst: any depth.
    function: function(x, y, band), or function(x, y, src_band, band) if there is a source. A band
    is an array of up to `rows` rows x the width of the area x 4; its first pixel is (x, y) in dst.
    The function changes the band, or returns an array that replaces it. It is called from top to
    bottom on the calling thread.
    src, at, rect, uncovered: as in iterate(). Without `uncovered` the area is limited to src.
    rows: maximal number of rows of a band, 1..30000.
    progress: called after each band with (bands done, total bands).

    Raises TypeError, ValueError, vx.Error, and exceptions of the function.
    """
    return _vx.iterate_rows(dst, function, src, at, rect, uncovered, rows, progress, out, order)


def iterate_generic(iterations: int, function: Callable[[int, int, int], object]) -> None:
    """Calls function(thread, i, iterations) for i = 0, 1, ... iterations - 1.

    iterations: -1 is one call, 0 is none.
    function: if it returns a true value, the iteration stops with vx.Error of code 517. It is called
    from up to host.threads() threads and in any order, by one thread at a time because of the
    interpreter's lock. `thread` is the number of the thread, 0 for the calling thread. With
    host.set_threads(1) all calls are made on the calling thread in order.

    Raises TypeError, ValueError, vx.Error, and exceptions of the function.
    """
    _vx.iterate_generic(iterations, function)
