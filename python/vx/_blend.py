# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Transfer modes."""

from __future__ import annotations

import numpy
import numpy.typing

from . import _vx
from ._channels import in_order, kind_of, pixels
from ._types import (Field, LinearTables, MaskUse, Order, Picture, Place, Progress, Quality, Rect)


def transfer(dst: Picture, src: Picture, *, mode: str | int = "in-front", opacity: float = 1.0,
             at: Place = (0, 0), rect: Rect | None = None, mask: Picture | None = None,
             mask_use: MaskUse = "alpha", mask_at: Place = (0, 0),
             tables: LinearTables | None = None, keep_alpha: bool = False, seed: int = 0,
             field: Field = "both", progress: Progress | None = None,
             out: Picture | None = None, order: Order = "rgba") -> Picture:
    """Composites `src` over `dst` and gives the result; `dst` stays unless it is `out`.

    dst, src, mask: pictures of one depth; sizes may differ.
    mode: a name of modes(), or its number.
    opacity: 0..1.
    at: (x, y) in dst where the corner of the rectangle lies, pixels.
    rect: (left, top, right, bottom) of src; None is all of it.
    mask_use: which quantity of the mask weighs a pixel.
    mask_at: (x, y) of the mask's corner in dst.
    tables: blend in linear light by these; None blends the stored values.
    keep_alpha: colours are written, the alpha of dst stays.
    seed: of the mode dissolve.
    field: "both", "even" or "odd" rows of dst.
    progress: called with (rows done, rows); what is true stops, with Error.code 517.

    Raises TypeError, ValueError, Error. Calls with destinations of their own may run at once.
    """
    layer = (mode, opacity, mask, mask_use, mask_at, tables, keep_alpha, seed, field)
    return _vx.transfer(dst, src, layer, at, rect, progress, out, order)


def composite_rect(dst: Picture, src: Picture, *, mode: str | int = "in-front", opacity: int = 255,
                   at: Place = (0, 0), rect: Rect | None = None, field: Field = "both",
                   premultiplied: bool = False, quality: Quality = "high",
                   progress: Progress | None = None, out: Picture | None = None,
                   order: Order = "rgba") -> Picture:
    """The short form of transfer(): opacity in 0..255, no mask, no tables.

    premultiplied: the colours of `src` are already multiplied by its alpha; the mode in-front
    takes them so, other modes take them as they are.
    quality: "draft" and "high" draw alike; a module may replace one of them.

    Raises TypeError, ValueError, Error.
    """
    return _vx.composite_rect(dst, src, mode, opacity, at, rect, field, premultiplied, quality,
                              progress, out, order)


def blend_pixel(s: numpy.typing.ArrayLike, d: numpy.typing.ArrayLike, mode: str | int = "in-front",
                depth: int | None = None, *, opacity: float | None = None,
                opacity2: float | None = None, tables: LinearTables | None = None,
                order: Order = "rgba") -> numpy.ndarray:
    """Single pixels by the arithmetic of a mode: `s` over `d`, four channels in the last axis.

    The two are broadcast against each other; the result is a new array.

    depth: 8, 16 or 32 for numbers that are no array of uint8, uint16 or float32; None takes that
    of `d`.
    opacity, opacity2: 0..1, multiplied; None is 1.

    The mode dissolve, which needs to know where a pixel lies, gives `d`. Raises TypeError, ValueError.
    """
    kind = kind_of(depth, d)
    if kind is None:
        raise TypeError(f"d: dtype {numpy.asarray(d).dtype}; pixels are uint8, uint16 or float32, "
                        "or give the depth")
    above, below = pixels("s", s, kind, order), pixels("d", d, kind, order)
    shape = numpy.broadcast_shapes(above.shape, below.shape)
    above = numpy.broadcast_to(above, shape).copy(order="C")
    below = numpy.broadcast_to(below, shape).copy(order="C")
    _vx.blend_pixels(above, below, mode, opacity, opacity2, tables)
    return in_order(below, order)


def modes() -> list[tuple[int, str]]:
    """(number, name) of each transfer mode."""
    return _vx.modes()


def transfer_flags(mode: str | int) -> int:
    """What callers of older hosts ask of a mode: 1 for -3, 0 to 2, 4 to 7, 9 to 16, 22 and 25, else 0.

    Raises TypeError, ValueError.
    """
    return _vx.transfer_flags(mode)
