# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Transfer modes."""

from __future__ import annotations

import numpy
import numpy.typing

from . import _vx
from ._types import Field, LinearTables, MaskUse, Order, Picture, Place, Progress, Rect


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
    mask_use: which quantity of the mask weighs a pixel; mask_at: its corner in dst.
    tables: blend in linear light by these; None blends the stored values.
    keep_alpha: colours are written, the alpha of dst stays.
    seed: of the mode dissolve.
    field: "both", "even" or "odd" rows of dst.
    progress: called with (rows done, rows); what is true stops, with Error.code 517.

    Raises TypeError, ValueError, Error. Calls with destinations of their own may run at once.
    """
    layer = (mode, opacity, mask, mask_use, mask_at, tables, keep_alpha, seed, field)
    return _vx.transfer(dst, src, layer, at, rect, progress, out, order)


def blend_pixel(s: numpy.typing.ArrayLike, d: numpy.typing.ArrayLike, mode: str | int = "in-front",
                depth: int | None = None, *, opacity: float = 1.0,
                tables: LinearTables | None = None, order: Order = "rgba") -> numpy.ndarray:
    """Single pixels by the arithmetic of a mode: `s` over `d`, four channels in the last axis.

    The two are broadcast against each other. depth: 8, 16 or 32 for numbers that are no array of
    uint8, uint16 or float32; None takes that of `d`. The mode dissolve, which needs to know where
    a pixel lies, gives `d`.

    Raises TypeError, ValueError.
    """
    kinds = {8: numpy.uint8, 16: numpy.uint16, 32: numpy.float32}
    if depth is None:
        kind = numpy.asarray(d).dtype
    elif depth in kinds:
        kind = numpy.dtype(kinds[depth])
    else:
        raise ValueError(f"depth: 8, 16 or 32 bits a channel, not {depth}")
    if kind not in kinds.values():
        raise TypeError(f"d: dtype {kind}; pixels are uint8, uint16 or float32, or give the depth")
    places = [3, 0, 1, 2] if order == "rgba" else [0, 1, 2, 3]
    above, below = (_pixels(name, value, kind) for name, value in (("s", s), ("d", d)))
    shape = numpy.broadcast_shapes(above.shape, below.shape)
    above = numpy.broadcast_to(above, shape)[..., places].copy(order="C")
    below = numpy.broadcast_to(below, shape)[..., places].copy(order="C")
    _vx.blend_pixels(above, below, mode, opacity, tables)
    return below[..., numpy.argsort(places)]


def _pixels(name: str, value: numpy.typing.ArrayLike, kind: numpy.dtype) -> numpy.ndarray:
    array = numpy.asarray(value)
    if array.ndim == 0 or array.shape[-1] != 4:
        raise ValueError(f"{name}: shape {array.shape}; the last axis has four channels")
    if kind.kind == "u":
        full = 255 if kind.itemsize == 1 else 32768
        if array.dtype.kind not in "iu":
            raise TypeError(f"{name}: dtype {array.dtype}; needs whole numbers")
        if array.size and (array.min() < 0 or array.max() > full):
            raise ValueError(f"{name}: channels are 0..{full}")
    elif array.dtype.kind not in "iuf":
        raise TypeError(f"{name}: dtype {array.dtype}; needs numbers")
    return array.astype(kind)


def modes() -> list[tuple[int, str]]:
    """(number, name) of each transfer mode."""
    return _vx.modes()
