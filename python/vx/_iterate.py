# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""A function of the caller's over pixels, rows and numbers.

What the function raises ends the walk and comes out unchanged; a world or an array in the order
ARGB keeps what was written until then. The function holds the interpreter's lock while it runs.
"""

from __future__ import annotations

from collections.abc import Callable
from typing import Any

from . import _vx
from ._types import Order, Picture, Place, Progress, Rect


def iterate(dst: Picture, function: Callable[..., Any], *, src: Picture | None = None,
            at: Place = (0, 0), rect: Rect | None = None, uncovered: bool = False,
            progress: Progress | None = None, out: Picture | None = None,
            order: Order = "rgba") -> Picture:
    """Each pixel of `rect` of dst through a function: about a microsecond a pixel.

    function(x, y, pixel), or function(x, y, src_pixel, pixel) with a source: pixels are tuples of
    four numbers in `order` at the scale of the depth. It gives the new pixel, four numbers or
    three of an opaque one, or None to leave it. Rows from top to bottom, on the calling thread.
    src: a picture of the same depth with its corner at `at` in dst; pixels that it does not cover
    are left out, or with `uncovered` get transparent black as src_pixel.
    progress: called after each row with (rows done, rows of dst).

    Raises what the function raises, TypeError, ValueError, Error.
    """
    return _vx.iterate(dst, function, src, at, rect, uncovered, progress, out, order)


def iterate_rows(dst: Picture, function: Callable[..., Any], *, src: Picture | None = None,
                 at: Place = (0, 0), rect: Rect | None = None, uncovered: bool = False,
                 rows: int = 16, progress: Progress | None = None, out: Picture | None = None,
                 order: Order = "rgba") -> Picture:
    """Bands of rows of `rect` of dst through a function, which NumPy works on at its own speed.

    function(x, y, band), or function(x, y, src_band, band) with a source: a band is an array of
    up to `rows` rows x the width of the area x 4, whose first pixel is (x, y) of dst. The function
    changes it, or gives what is put in its place. Bands are independent: a module that replaces
    the generic iterator may call from several threads and in any order.
    src, at, uncovered: as in iterate(); the area is what src covers.
    progress: called after each band with (bands done, bands).

    Raises what the function raises, TypeError, ValueError, Error.
    """
    return _vx.iterate_rows(dst, function, src, at, rect, uncovered, rows, progress, out, order)


def iterate_generic(iterations: int, function: Callable[[int, int, int], object]) -> None:
    """Calls function(thread, i, iterations) for i from 0 on; what is true stops, with Error 517.

    iterations: -1 means once, 0 never. The built-in iterator runs on the calling thread in order;
    a module that replaces it may call from host.threads() threads, in any order.

    Raises what the function raises, TypeError, ValueError, Error.
    """
    _vx.iterate_generic(iterations, function)
