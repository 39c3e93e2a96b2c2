# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Fills, premultiplication, depths, copies and scaling."""

from __future__ import annotations

from typing import Literal

import numpy

from . import _vx
from ._types import Color, Order, Picture, Place, Progress, Quality, Rect
from ._vx import Bitmap


def fill(picture: Picture, color: Color, *, rect: Rect | None = None, out: Picture | None = None,
         order: Order = "rgba") -> Picture:
    """A picture with `rect` (None: all of it) in one colour.

    color: three numbers (opaque) or four, in `order`, at the scale of the picture: 0..255,
    0..32768, or any finite floats.

    Raises TypeError, ValueError, Error.
    """
    return _vx.fill(picture, color, rect, out, order)


def clear_alpha_outside(picture: Picture, rect: Rect | None, *, out: Picture | None = None,
                        order: Order = "rgba") -> Picture:
    """A picture whose alpha is 0 outside of `rect`; colours stay. None keeps everything.

    Raises TypeError, ValueError, Error.
    """
    return _vx.clear_alpha_outside(picture, rect, out, order)


def clear_outside(picture: Picture, rect: Rect | None, *, out: Picture | None = None,
                  order: Order = "rgba") -> Picture:
    """A picture that is transparent black outside of `rect`; None keeps everything.

    Raises TypeError, ValueError, Error.
    """
    return _vx.clear_outside(picture, rect, out, order)


def fill_alpha(picture: Picture, *, out: Picture | None = None, order: Order = "rgba") -> Picture:
    """The picture made opaque; colours stay. Raises TypeError, ValueError, Error."""
    return _vx.fill_alpha(picture, out, order)


def invert_alpha(picture: Picture, *, out: Picture | None = None,
                 order: Order = "rgba") -> Picture:
    """The picture with full scale less its alpha; colours stay.

    Raises TypeError, ValueError, Error.
    """
    return _vx.invert_alpha(picture, out, order)


def premultiply(picture: Picture, *, color: Color | None = None, rect: Rect | None = None,
                out: Picture | None = None, order: Order = "rgba") -> Picture:
    """Colours multiplied by alpha, in `rect`: against black, or against `color` (see fill()).

    Raises TypeError, ValueError, Error.
    """
    return _vx.premultiply(picture, True, color, rect, out, order)


def unpremultiply(picture: Picture, *, color: Color | None = None, rect: Rect | None = None,
                  out: Picture | None = None, order: Order = "rgba") -> Picture:
    """Undoes premultiply(); colours of transparent pixels are lost in between.

    Raises TypeError, ValueError, Error.
    """
    return _vx.premultiply(picture, False, color, rect, out, order)


def convert(picture: Picture, depth: int, *, dither: bool = False,
            progress: Progress | None = None, out: Picture | None = None,
            order: Order = "rgba") -> Picture:
    """The picture at 8, 16 or 32 bits a channel: uint8, uint16 (0..32768) or float32.

    Floats are held to 0..1 on the way to integers.

    dither: noise in place of rounding on the way to 8 bits; reset_dither() makes it repeat.

    Raises TypeError, ValueError, Error.
    """
    return _vx.convert(picture, depth, dither, progress, out, order)


def copy(dst: Picture, src: Picture, *, src_rect: Rect | None = None, dst_rect: Rect | None = None,
         quality: Quality = "draft", premultiplied: bool = False, out: Picture | None = None,
         order: Order = "rgba") -> Picture:
    """`dst` with a rectangle of `src` copied to a rectangle of it, scaled where sizes differ.

    None is the whole picture. Draft takes the nearest pixel and converts between depths; high
    filters, weighting colours by alpha unless `premultiplied`, and needs equal depths.

    Raises TypeError, ValueError, Error.
    """
    return _vx.copy(dst, src, src_rect, dst_rect, quality, premultiplied, out, order)


def copy_bitmap(src: Bitmap, out: Bitmap, *, src_rect: Rect | None = None,
                out_rect: Rect | None = None, quality: Quality = "draft",
                premultiplied: bool = False) -> Bitmap:
    """Copies between bitmaps of the host, as copy() does, and gives `out`, which is changed.

    Draft also turns the channel order; high quality needs equal orders and depths.

    Raises TypeError, ValueError, Error.
    """
    return _vx.copy_bitmap(src, out, src_rect, out_rect, quality, premultiplied)


def blit(dst: Picture, src: Picture, *, at: Place = (0, 0), rect: Rect | None = None,
         low: Color | None = None, high: Color | None = None, invert_alpha: bool = False,
         out: Picture | None = None, order: Order = "rgba") -> Picture:
    """An 8-bit picture with `rect` of a picture of any depth copied to (x, y).

    low, high: what becomes 0 and full scale, a number 0..1 for each channel in `order`; without
    both there is no stretching. Where low equals high, below it gives 0 and the rest full scale.

    Raises TypeError, ValueError, Error.
    """
    return _vx.blit(dst, src, at, rect, low, high, invert_alpha, out, order)


def resize(picture: Picture, width: int, height: int, *, quality: Quality = "high",
           progress: Progress | None = None, out: Picture | None = None,
           order: Order = "rgba") -> Picture:
    """The picture scaled to height x width pixels; opaque ones stay opaque to their edge.

    quality: "high" filters, weighting colours by alpha; "draft" takes the nearest pixel.

    Raises TypeError, ValueError, Error.
    """
    return _vx.resize(picture, width, height, quality, progress, out, order)


def mix(a: Picture, b: Picture, ratio: float, *, premultiplied: bool = False,
        progress: Progress | None = None, out: Picture | None = None,
        order: Order = "rgba") -> Picture:
    """Between two pictures of one depth, over the part that both cover: ratio 0 gives a, 1 gives b.

    The result has the size of a, and its pixels where b ends. Colours are weighted by alpha unless
    they are `premultiplied`.

    Raises TypeError, ValueError, Error.
    """
    return _vx.mix(a, b, ratio, premultiplied, progress, out, order)


def look_up(picture: Picture, *, alpha: numpy.ndarray | None = None,
            red: numpy.ndarray | None = None, green: numpy.ndarray | None = None,
            blue: numpy.ndarray | None = None, rect: Rect | None = None,
            out: Picture | None = None, order: Order = "rgba") -> Picture:
    """Each channel of an 8-bit picture through a table of 256 uint8; None leaves a channel.

    Raises TypeError, ValueError, Error.
    """
    return _vx.look_up(picture, alpha, red, green, blue, rect, out, order)


AlphaKind = Literal["straight", "premultiplied-black", "premultiplied-white"]


def guess_alpha(picture: Picture, *,
                order: Order = "rgba") -> tuple[AlphaKind | None, int, int, int]:
    """How colour and alpha were combined, told from the pixels.

    Gives the kind, or None where nothing decides; the number of partly transparent pixels; how
    many of these contradict black; how many contradict white. Raises TypeError, ValueError.
    """
    return _vx.guess_alpha(picture, order)


def rand(state: int) -> tuple[int, int]:
    """The next value, 0..32767, and the next state, of a generator with a state of 32 bits.

    Raises TypeError, ValueError for a state that is not within 0..2^32 - 1.
    """
    return _vx.rand(state)


def hypot(x: float, y: float) -> float:
    """sqrt(x x + y y), without a guard against overflow. Raises TypeError."""
    return _vx.hypot(x, y)


def reset_dither() -> None:
    """Rewinds the noise of convert(dither=True)."""
    _vx.reset_dither()
