# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""One-channel buffers: masks and mattes.

A mask is an array of height x width of uint8 (0..255), uint16 (0..32768) or float32 (0..1), with
any strides. Only `out` is changed; without it the result is a new array. For rect, at, progress,
out and order see the module vx.
"""

from __future__ import annotations

from typing import Literal

import numpy

from . import _vx
from ._channels import KINDS, pair
from ._planes import put
from ._types import Order, OutT, Picture, PictureT, Place, Progress, Rect

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
    """Returns a contiguous copy of the mask."""
    return _array("mask", mask).copy(order="C")


def _contiguous(name: str, mask: Mask) -> Mask:
    return numpy.ascontiguousarray(_array(name, mask))


def _given(result: Mask, out: Mask | None) -> Mask:
    if out is None:
        return result
    return put(out, result)


def fill(mask: Mask, value: float, *, rect: Rect | None = None, out: Mask | None = None) -> Mask:
    """Returns the mask with `rect` filled with one value.

    mask: any depth.
    value: at the scale of the mask.
    rect: must be None for a float mask, which is filled completely.

    Raises TypeError, ValueError, vx.Error.
    """
    work = _own(mask)
    _vx.uno_fill(work, value, rect)
    return _given(work, out)


def fade(mask: Mask, opacity: float, *, out: Mask | None = None) -> Mask:
    """Returns the mask multiplied by an opacity.

    mask: any depth.
    opacity: 0..1.

    Raises TypeError, ValueError, vx.Error.
    """
    work = _own(mask)
    _vx.uno_fade(work, opacity)
    return _given(work, out)


def invert(mask: Mask, *, opacity: float = 1.0, out: Mask | None = None) -> Mask:
    """Returns full scale - mask, multiplied by an opacity.

    mask: any depth.
    opacity: 0..1.

    Raises TypeError, ValueError, vx.Error.
    """
    work = _own(mask)
    _vx.uno_invert(work, opacity)
    return _given(work, out)


def convert(mask: Mask, depth: int, *, invert: bool = False, out: Mask | None = None) -> Mask:
    """Returns the mask at another depth.

    mask: any depth.
    depth: 8, 16 or 32.
    invert: invert the result.

    Raises TypeError, ValueError, vx.Error.
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
    """Returns `dst` mixed with `rect` of `src`: dst + mask (src - dst).

    dst, src: masks of one depth.
    mask: weights of the depth of src, in the coordinates of src. None is 1 everywhere.
    outside: pixels of dst outside the area of src and mask. "keep" leaves them unchanged, "clear"
    and "clear-beyond" set them to 0.
    rect: in src.
    at: position in dst of the top left corner of `rect`. None: the position of `rect` itself.

    Raises TypeError, ValueError, vx.Error.
    """
    work = _own(dst)
    weights = None if mask is None else _contiguous("mask", mask)
    _vx.uno_transfer(work, _contiguous("src", src), weights, outside, rect, at, progress)
    return _given(work, out)


def accumulate(dst: Mask, src: Mask, mode: Literal["add", "replace", "subtract"] = "add", *,
               gains: tuple[float, float] | None = None, rect: Rect | None = None,
               at: Place | None = None, progress: Progress | None = None,
               out: Mask | None = None) -> Mask:
    """Returns `dst` with `src` added, subtracted or stored. Results are clamped to 0..1.

    dst, src: masks of one depth, or uint8 into uint16: then 8-bit values are used without
    conversion, and the maximum is 65535.
    mode: "add", "replace" or "subtract".
    gains: factors (of src, of dst), 0..32767, applied first. None is (1, 1).
    rect, at: as in transfer().

    Raises TypeError, ValueError, vx.Error.
    """
    work = _own(dst)
    _vx.uno_accumulate(work, _contiguous("src", src), mode, gains, rect, at, progress)
    return _given(work, out)


def feather(mask: Mask, radius: float | tuple[float, float], *, kind: Kind = "soft",
            progress: Progress | None = None, out: Mask | None = None) -> Mask:
    """Returns the mask blurred along rows and columns. A constant mask is unchanged.

    mask: any depth.
    radius: pixels, 0..32767, or (x, y).
    kind: "box" (one box), "soft" (three boxes) or "gaussian". Box and soft take the same time for
    any radius.

    Raises TypeError, ValueError, vx.Error.
    """
    x, y = pair("radius", radius)
    work = _own(mask)
    _vx.uno_feather(work, x, y, kind, progress)
    return _given(work, out)


def box_scan(line: Mask, radius: float, *, kind: int = 0, start: int = 0, end: int | None = None,
             out: Mask | None = None) -> Mask:
    """Returns one line blurred by boxes between `start` and `end`.

    line: an array of one dimension.
    radius: pixels, 0..32767.
    kind: 0 is one box, other numbers are three boxes. With a radius below about 2.7 the three boxes
    are replaced: 1 is a Gaussian, other numbers are one plain box.
    start, end: first index and the index after the last one. None is the end of the line.

    Scans of several threads run one after the other. Raises TypeError, ValueError, vx.Error.
    """
    work = _own(line)
    _vx.uno_scan(work, False, kind, radius, start, end)
    return _given(work, out)


def gaussian_scan(line: Mask, radius: float, *, kind: int = 1, start: int = 0,
                  end: int | None = None, out: Mask | None = None) -> Mask:
    """Returns one line blurred between `start` and `end`.

    line, radius, start, end: as in box_scan().
    kind: 1 is a Gaussian, other numbers are one box.

    Scans of several threads run one after the other. Raises TypeError, ValueError, vx.Error.
    """
    work = _own(line)
    _vx.uno_scan(work, True, kind, radius, start, end)
    return _given(work, out)


def from_picture(picture: Picture, what: Quantity = "alpha", *, order: Order = "rgba") -> Mask:
    """Returns one quantity of a picture as a mask of the same depth.

    picture: any depth.
    what: "alpha", "inverse-alpha", "luma", "inverse-luma", "red", "green" or "blue". Luma is
    luminance times alpha.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.uno_from_picture(picture, what, order)


def to_picture(mask: Mask, *, out: OutT | None = None,
               order: Order = "rgba") -> numpy.ndarray | OutT:
    """Returns the mask as an opaque grey picture.

    mask: any depth.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.uno_to_picture(_contiguous("mask", mask), out, order)


def merge(picture: PictureT, mask: Mask, *, at: Place = (0, 0), rect: Rect | None = None,
          progress: Progress | None = None, out: OutT | None = None,
          order: Order = "rgba") -> PictureT | OutT:
    """Returns the picture with its alpha multiplied by the mask; outside the mask alpha is 0.

    picture: any depth.
    mask: any depth.
    at: position in the picture of the top left corner of the mask.
    rect: in the picture; outside it alpha is 0, too.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.uno_merge(picture, _contiguous("mask", mask), at, rect, progress, out, order)


def blend_alpha(picture: PictureT, mask: Mask, target: float, *, opacity: float = 1.0,
                out: OutT | None = None, order: Order = "rgba") -> PictureT | OutT:
    """Returns the picture with its alpha moved toward a target: a + mask opacity (target - a).

    picture: any depth.
    mask: array with the height, width and depth of the picture.
    target: alpha at the scale of the depth.
    opacity: 0..1.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.uno_blend_alpha(picture, _contiguous("mask", mask), target, opacity, out, order)
