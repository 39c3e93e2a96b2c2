# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Transfer modes."""

from __future__ import annotations

import numpy
import numpy.typing

from . import _vx
from ._channels import in_order, kind_of, pixels
from ._types import (Field, LinearTables, MaskUse, Order, OutT, Picture, PictureT, Place, Profile,
                     Progress, Quality, Rect)


def transfer(dst: PictureT, src: Picture, *, mode: str | int = "in-front", opacity: float = 1.0,
             at: Place = (0, 0), rect: Rect | None = None, mask: Picture | None = None,
             mask_use: MaskUse = "alpha", mask_at: Place = (0, 0),
             linear: Profile | None = None, tables: LinearTables | None = None,
             keep_alpha: bool = False, seed: int = 0, field: Field = "both",
             progress: Progress | None = None, out: OutT | None = None,
             order: Order = "rgba") -> PictureT | OutT:
    """Returns `dst` with `src` composited over it.

    dst, src, mask: pictures of one depth; sizes may differ.
    mode: a name or a number of modes().
    opacity: 0..1.
    at: position in dst of the top left corner of `rect`.
    rect: in src.
    mask_use: quantity of the mask that is the weight of a pixel. The values of a mask of height x
    width are the weights, for "luma" as for "alpha".
    mask_at: position in dst of the top left corner of the mask, (x, y) in pixels.
    linear: profile of both pictures: blends in linear light by its tone curves; None blends the
    stored values. Integer pictures are blended by tables of the curves, float pictures by the
    curves, with an error of at most 1e-5.
    tables: like linear, with tables, and an exponent for float pictures (LinearTables.gamma). Not
    together with linear.
    keep_alpha: writes colours only; the alpha of dst is unchanged.
    seed: seed of the mode dissolve.
    field: rows of dst that are written: "both", "even" or "odd".
    progress: called with (rows done, total rows).

    Raises TypeError, ValueError, vx.Error. Thread-safe if the destinations are different.
    """
    layer = (mode, opacity, mask, mask_use, mask_at, linear, tables, keep_alpha, seed, field)
    return _vx.transfer(dst, src, layer, at, rect, progress, out, order)


def composite_rect(dst: PictureT, src: Picture, *, mode: str | int = "in-front", opacity: int = 255,
                   at: Place = (0, 0), rect: Rect | None = None, field: Field = "both",
                   premultiplied: bool = False, quality: Quality = "high",
                   progress: Progress | None = None, out: OutT | None = None,
                   order: Order = "rgba") -> PictureT | OutT:
    """Returns `dst` with `src` composited over it: transfer() without mask and tables.

    dst, src: pictures of one depth; sizes may differ.
    mode: a name or a number of modes().
    opacity: 0..255, at all depths.
    at: position in dst of the top left corner of `rect`.
    rect: in src.
    field: rows of dst that are written: "both", "even" or "odd".
    premultiplied: the colours of `src` are premultiplied by its alpha. Only the mode in-front takes
    this into account; other modes use the colours unchanged.
    quality: "draft" and "high" give the same result unless a module replaces one of them.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.composite_rect(dst, src, mode, opacity, at, rect, field, premultiplied, quality,
                              progress, out, order)


def blend_pixel(s: numpy.typing.ArrayLike, d: numpy.typing.ArrayLike, mode: str | int = "in-front",
                depth: int | None = None, *, opacity: float | None = None,
                opacity2: float | None = None, tables: LinearTables | None = None,
                order: Order = "rgba") -> numpy.ndarray:
    """Returns pixels of `s` blended over pixels of `d`, as a new array.

    s, d: single pixels or arrays; the last axis has four channels. They are broadcast against each
    other.
    mode: a name or a number of modes(), 0 or more. The mode dissolve depends on the position of a
    pixel, therefore it returns `d` here.
    depth: 8, 16 or 32 for numbers that are not an array of uint8, uint16 or float32. None: the
    depth of `d`.
    opacity, opacity2: 0..1; the product of both is used. None is 1.
    tables: tables for blending in linear light; None blends the stored values.

    Raises TypeError, ValueError.
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
    """Returns (number, name) of each transfer mode.

    Functions also accept names that other programs use, such as "normal" or "color-dodge", in any
    case and with "-", "_" or blanks; docs/modes.md lists them.
    """
    return _vx.modes()


def transfer_flags(mode: str | int) -> int:
    """Returns the flag that older hosts request for a mode.

    It is 1 for the modes -3, 0 to 2, 4 to 7, 9 to 16, 22 and 25, and 0 for the others.

    mode: a name or a number of modes().

    Raises TypeError, ValueError.
    """
    return _vx.transfer_flags(mode)
