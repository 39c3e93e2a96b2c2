# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""One-channel buffers: masks and mattes.

A mask is an array of height x width of uint8 (0..255), uint16 (0..32768) or float32 (0..1), of any
strides. As elsewhere nothing but `out` is changed; without it a new array is given. What
rect, at, progress, out and order are is told at the module vx.
"""

from __future__ import annotations

from typing import Literal

import numpy

from . import _vx
from ._channels import KINDS, pair
from ._planes import put
from ._types import Order, Picture, Place, Progress, Rect

__all__ = ["accumulate", "blend_alpha", "box_scan", "convert", "fade", "feather", "fill", "from_picture",
           "gaussian_scan", "invert", "merge", "to_picture", "transfer"]

Mask = numpy.ndarray
Outside = Literal["keep", "clear", "clear-beyond"]
Kind = Literal["box", "soft", "gaussian"]
Quantity = Literal["alpha", "inverse-alpha", "luma", "inverse-luma", "red", "green", "blue"]


def _array(name: str, mask: Mask) -> Mask:
    if not isinstance(mask, numpy.ndarray):
        raise TypeError(f"{name}: needs a NumPy array, not {type(mask).__name__}")
    return mask


def _own(mask: Mask) -> Mask:
    """A contiguous copy, to work on."""
    return _array("mask", mask).copy(order="C")


def _contiguous(name: str, mask: Mask) -> Mask:
    return numpy.ascontiguousarray(_array(name, mask))


def _given(result: Mask, out: Mask | None) -> Mask:
    if out is None:
        return result
    return put(out, result)


def fill(mask: Mask, value: float, *, rect: Rect | None = None, out: Mask | None = None) -> Mask:
    """The mask with `rect` (None: all; float masks only all) at one value of its scale.

    Raises TypeError, ValueError, Error.
    """
    work = _own(mask)
    _vx.uno_fill(work, value, rect)
    return _given(work, out)


def fade(mask: Mask, opacity: float, *, out: Mask | None = None) -> Mask:
    """The mask times an opacity, 0..1. Raises TypeError, ValueError, Error."""
    work = _own(mask)
    _vx.uno_fade(work, opacity)
    return _given(work, out)


def invert(mask: Mask, *, opacity: float = 1.0, out: Mask | None = None) -> Mask:
    """1 less the mask, then times an opacity, 0..1. Raises TypeError, ValueError, Error."""
    work = _own(mask)
    _vx.uno_invert(work, opacity)
    return _given(work, out)


def convert(mask: Mask, depth: int, *, invert: bool = False, out: Mask | None = None) -> Mask:
    """The mask at a depth of 8, 16 or 32 bits, inverted after that when asked to.

    Raises TypeError, ValueError, Error.
    """
    if depth not in KINDS:
        raise ValueError(f"depth: 8, 16 or 32, not {depth!r}")
    source = _contiguous("mask", mask)
    work = numpy.empty(source.shape, KINDS[depth])
    _vx.uno_convert(source, work, invert)
    return _given(work, out)


def transfer(dst: Mask, src: Mask, *, mask: Mask | None = None, outside: Outside = "keep",
             rect: Rect | None = None, at: Place | None = None, progress: Progress | None = None,
             out: Mask | None = None) -> Mask:
    """`dst` mixed toward `rect` of `src` by `mask`, which lies in src's frame; None is 1.

    at: (x, y) where the corner of the rectangle lands; None is its own corner.
    outside: what src does not cover is kept, or cleared; "clear-beyond" clears to the right only
    where src ends short of the row.

    Raises TypeError, ValueError, Error.
    """
    work = _own(dst)
    weights = None if mask is None else _contiguous("mask", mask)
    _vx.uno_transfer(work, _contiguous("src", src), weights, outside, rect, at, progress)
    return _given(work, out)


def accumulate(dst: Mask, src: Mask, mode: Literal["add", "replace", "subtract"] = "add", *,
               gains: tuple[float, float] | None = None, rect: Rect | None = None,
               at: Place | None = None, progress: Progress | None = None,
               out: Mask | None = None) -> Mask:
    """`src` added to `dst`, put in its place or taken away, held to 0..1.

    uint8 may go into uint16 as the codes they are.

    gains: (of src, of dst), 0..32767.

    rect and at as in transfer(). Raises TypeError, ValueError, Error.
    """
    work = _own(dst)
    _vx.uno_accumulate(work, _contiguous("src", src), mode, gains, rect, at, progress)
    return _given(work, out)


def feather(mask: Mask, radius: float | tuple[float, float], *, kind: Kind = "soft",
            progress: Progress | None = None, out: Mask | None = None) -> Mask:
    """The mask softened along rows and columns: by one box, three, or a Gaussian.

    radius: pixels, 0..32767, or (x, y). Box and soft cost the same for any radius.

    Raises TypeError, ValueError, Error.
    """
    x, y = pair("radius", radius)
    work = _own(mask)
    _vx.uno_feather(work, x, y, kind, progress)
    return _given(work, out)


def box_scan(line: Mask, radius: float, *, kind: int = 0, start: int = 0, end: int | None = None,
             out: Mask | None = None) -> Mask:
    """One line blurred between `start` and `end`: kind 0 one box, 1 and others three.

    line: an array of one dimension.
    radius: pixels, 0..32767. Below one of about 2.7 kind 1 is a Gaussian and others are a plain
    box.

    Raises TypeError, ValueError, Error.
    """
    work = _own(line)
    _vx.uno_scan(work, False, kind, radius, start, end)
    return _given(work, out)


def gaussian_scan(line: Mask, radius: float, *, kind: int = 1, start: int = 0,
                  end: int | None = None, out: Mask | None = None) -> Mask:
    """One line blurred between `start` and `end`: kind 1 a Gaussian, others a plain box.

    line and radius as in box_scan(). One such scan runs at a time.

    Raises TypeError, ValueError, Error.
    """
    work = _own(line)
    _vx.uno_scan(work, True, kind, radius, start, end)
    return _given(work, out)


def from_picture(picture: Picture, what: Quantity = "alpha", *, order: Order = "rgba") -> Mask:
    """The mask that one quantity of a picture is; luma is times alpha.

    Raises TypeError, ValueError, Error.
    """
    return _vx.uno_from_picture(picture, what, order)


def to_picture(mask: Mask, *, out: Picture | None = None, order: Order = "rgba") -> Picture:
    """The mask as an opaque grey picture. Raises TypeError, ValueError, Error."""
    return _vx.uno_to_picture(_contiguous("mask", mask), out, order)


def merge(picture: Picture, mask: Mask, *, at: Place = (0, 0), rect: Rect | None = None,
          progress: Progress | None = None, out: Picture | None = None,
          order: Order = "rgba") -> Picture:
    """The picture with its alpha times the mask, whose corner lies at (x, y); 0 outside of it.

    The mask may have another depth. rect: of the picture; outside of it alpha becomes 0, too.

    Raises TypeError, ValueError, Error.
    """
    return _vx.uno_merge(picture, _contiguous("mask", mask), at, rect, progress, out, order)


def blend_alpha(picture: Picture, mask: Mask, target: float, *, opacity: float = 1.0,
                out: Picture | None = None, order: Order = "rgba") -> Picture:
    """The picture with its alpha moved toward `target` by the mask times an opacity, 0..1.

    mask: of the height, width and depth of the picture.
    target: at the scale of the depth.

    Raises TypeError, ValueError, Error.
    """
    return _vx.uno_blend_alpha(picture, _contiguous("mask", mask), target, opacity, out, order)
