# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Fills, premultiplication, conversion between depths, copies and scaling."""

from __future__ import annotations

from typing import Literal

import numpy

from . import _vx
from ._types import Color, Order, OutT, Picture, PictureT, Place, Progress, Quality, Rect
from ._vx import Bitmap


def fill(picture: PictureT, color: Color, *, rect: Rect | None = None, out: OutT | None = None,
         order: Order = "rgba") -> PictureT | OutT:
    """Returns the picture with `rect` filled with one colour.

    picture: any depth.
    color: three numbers (opaque) or four, in `order`, at the scale of the picture: 0..255,
    0..32768, or any finite floats.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.fill(picture, color, rect, out, order)


def clear_alpha_outside(picture: PictureT, rect: Rect | None, *, out: OutT | None = None,
                        order: Order = "rgba") -> PictureT | OutT:
    """Returns the picture with alpha 0 outside `rect`; colours are unchanged.

    picture: any depth.
    rect: None changes nothing.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.clear_alpha_outside(picture, rect, out, order)


def clear_outside(picture: PictureT, rect: Rect | None, *, out: OutT | None = None,
                  order: Order = "rgba") -> PictureT | OutT:
    """Returns the picture with transparent black outside `rect`.

    picture: any depth.
    rect: None changes nothing.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.clear_outside(picture, rect, out, order)


def fill_alpha(picture: PictureT, *, out: OutT | None = None,
               order: Order = "rgba") -> PictureT | OutT:
    """Returns the picture with alpha at full scale; colours are unchanged.

    picture: any depth.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.fill_alpha(picture, out, order)


def invert_alpha(picture: PictureT, *, out: OutT | None = None,
                 order: Order = "rgba") -> PictureT | OutT:
    """Returns the picture with alpha replaced by full scale - alpha; colours are unchanged.

    picture: any depth.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.invert_alpha(picture, out, order)


def premultiply(picture: PictureT, *, color: Color | None = None, rect: Rect | None = None,
                out: OutT | None = None, order: Order = "rgba") -> PictureT | OutT:
    """Returns the picture with colours multiplied by alpha in `rect`.

    picture: any depth.
    color: matte colour, see fill(): colours become c a + matte (1 - a). None is black.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.premultiply(picture, True, color, rect, out, order)


def unpremultiply(picture: PictureT, *, color: Color | None = None, rect: Rect | None = None,
                  out: OutT | None = None, order: Order = "rgba") -> PictureT | OutT:
    """Returns the picture with colours divided by alpha in `rect`: the inverse of premultiply().

    picture: any depth. Where alpha is 0 the colour becomes 0.
    color: matte colour that premultiply() was called with.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.premultiply(picture, False, color, rect, out, order)


def convert(picture: PictureT, depth: int, *, dither: bool = False,
            progress: Progress | None = None, out: OutT | None = None,
            order: Order = "rgba") -> PictureT | OutT:
    """Returns the picture at another depth.

    picture: any depth.
    depth: 8 (uint8), 16 (uint16, 0..32768) or 32 (float32). Floats are clamped to 0..1 before
    conversion to integers.
    dither: add noise instead of rounding if the result has 8 bits. reset_dither() makes it
    repeatable.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.convert(picture, depth, dither, progress, out, order)


def from_uint16(values: numpy.ndarray) -> numpy.ndarray:
    """Converts values of 0..65535, such as samples of a camera, to the 16-bit scale 0..32768.

    The result is v 32768 / 65535 rounded to nearest, as read() converts the samples of a file, in a
    new array of the same shape. from_uint16(to_uint16(a)) equals a.

    values: uint16, any shape.

    Raises TypeError.
    """
    scaled = numpy.multiply(_uint16(values), 32768, dtype=numpy.uint32)  # up to 2^31 - 2^15
    scaled += 32767
    scaled //= 65535
    return scaled.astype(numpy.uint16)


def to_uint16(values: numpy.ndarray) -> numpy.ndarray:
    """Converts values of the 16-bit scale 0..32768 to 0..65535: the inverse of from_uint16().

    The result is v 65535 / 32768 rounded to nearest, a half up, as write() converts pixels, in a
    new array of the same shape.

    values: uint16 of 0..32768, any shape.

    Raises TypeError, and ValueError for a value above 32768.
    """
    array = _uint16(values)
    if array.size and array.max() > 32768:
        raise ValueError(f"values: up to {array.max()}; the 16-bit scale is 0..32768")
    scaled = numpy.multiply(array, 65535, dtype=numpy.uint32)
    scaled += 16384
    scaled >>= 15
    return scaled.astype(numpy.uint16)


def _uint16(values: numpy.ndarray) -> numpy.ndarray:
    if not isinstance(values, numpy.ndarray) or values.dtype != numpy.uint16:
        kind = getattr(values, "dtype", type(values).__name__)
        raise TypeError(f"values: needs an array of uint16, not {kind}")
    return values


def copy(dst: PictureT, src: Picture, *, src_rect: Rect | None = None, dst_rect: Rect | None = None,
         quality: Quality = "draft", premultiplied: bool = False, out: OutT | None = None,
         order: Order = "rgba") -> PictureT | OutT:
    """Returns `dst` with a rectangle of `src` copied into it, scaled if the sizes differ.

    dst, src: pictures.
    src_rect, dst_rect: rectangles in src and dst; None is the whole picture.
    quality: "draft" takes the nearest pixel and converts between depths. "high" filters and needs
    equal depths.
    premultiplied: True filters all channels equally; False weights colours by alpha.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.copy(dst, src, src_rect, dst_rect, quality, premultiplied, out, order)


def copy_bitmap(src: Bitmap, out: Bitmap, *, src_rect: Rect | None = None,
                out_rect: Rect | None = None, quality: Quality = "draft",
                premultiplied: bool = False) -> Bitmap:
    """Copies a rectangle of `src` into `out`, scaled if the sizes differ, and returns `out`.

    src, out: different bitmaps.
    src_rect, out_rect: rectangles in src and out; None is the whole bitmap.
    quality: "draft" takes the nearest pixel and converts between channel orders and depths. "high"
    filters and needs equal orders and depths.
    premultiplied: True filters all channels equally; False weights colours by alpha.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.copy_bitmap(src, out, src_rect, out_rect, quality, premultiplied)


def blit(dst: PictureT, src: Picture, *, at: Place = (0, 0), rect: Rect | None = None,
         low: Color | None = None, high: Color | None = None, invert_alpha: bool = False,
         out: OutT | None = None, order: Order = "rgba") -> PictureT | OutT:
    """Returns an 8-bit picture with `rect` of a picture of any depth copied to `at`.

    dst: 8 bits per channel.
    src: any depth.
    at: position in dst of the top left corner of `rect`.
    rect: in src.
    low, high: values that become 0 and full scale, a number 0..1 per channel in `order`. The values
    between are scaled linearly. If low equals high, values below it become 0 and the others full
    scale. None for both copies without scaling.
    invert_alpha: invert alpha after the scaling.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.blit(dst, src, at, rect, low, high, invert_alpha, out, order)


def resize(picture: PictureT, width: int, height: int, *, quality: Quality = "high",
           progress: Progress | None = None, out: OutT | None = None,
           order: Order = "rgba") -> PictureT | OutT:
    """Returns the picture scaled to height x width pixels. Opaque pictures stay opaque.

    picture: any depth.
    width, height: pixels, 1..30000.
    quality: "high" filters and weights colours by alpha; "draft" takes the nearest pixel.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.resize(picture, width, height, quality, progress, out, order)


def mix(a: PictureT, b: Picture, ratio: float, *, premultiplied: bool = False,
        progress: Progress | None = None, out: OutT | None = None,
        order: Order = "rgba") -> PictureT | OutT:
    """Returns a mix of two pictures in the area that both cover, and `a` in the rest of its area.

    a, b: pictures of one depth. The result has the size of a.
    ratio: 0 gives a, 1 gives b.
    premultiplied: True mixes all channels equally; False weights colours by alpha.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.mix(a, b, ratio, premultiplied, progress, out, order)


def look_up(picture: PictureT, *, alpha: numpy.ndarray | None = None,
            red: numpy.ndarray | None = None, green: numpy.ndarray | None = None,
            blue: numpy.ndarray | None = None, rect: Rect | None = None,
            out: OutT | None = None, order: Order = "rgba") -> PictureT | OutT:
    """Replaces each channel of an 8-bit picture by values from a table.

    picture: 8 bits per channel.
    alpha, red, green, blue: tables of 256 uint8. None leaves the channel unchanged.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.look_up(picture, alpha, red, green, blue, rect, out, order)


AlphaKind = Literal["straight", "premultiplied-black", "premultiplied-white"]


def guess_alpha(picture: Picture, *,
                order: Order = "rgba") -> tuple[AlphaKind | None, int, int, int]:
    """Guesses from the pixels how colour and alpha were combined.

    Returns (kind, partial, not black, not white): the kind, or None if it is undecided; the number
    of partly transparent pixels; how many of them exclude a black matte; how many exclude a white
    matte.

    picture: any depth.

    Raises TypeError, ValueError.
    """
    return _vx.guess_alpha(picture, order)


def rand(state: int) -> tuple[int, int]:
    """Returns the next value, 0..32767, and the next state of a random number generator.

    state: 0..2^32 - 1.

    Raises TypeError, ValueError.
    """
    return _vx.rand(state)


def hypot(x: float, y: float) -> float:
    """Returns sqrt(x x + y y) without a protection against overflow. Raises TypeError."""
    return _vx.hypot(x, y)


def reset_dither() -> None:
    """Sets the noise of convert(dither=True) to its start, so that a conversion can be repeated."""
    _vx.reset_dither()
