# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Colours from profile to profile, and colours in other spaces."""

from __future__ import annotations

import numpy
import numpy.typing

from . import _vx
from ._channels import KINDS, kind_of, pixels
from ._types import Order, Picture

Colors = numpy.typing.ArrayLike


def convert_colors(picture: Picture, source: _vx.Profile, target: _vx.Profile, *,
                   out: Picture | None = None, order: Order = "rgba") -> Picture:
    """The picture's colours from one profile to another, relative colorimetric; alpha stays.

    Raises TypeError, ValueError for profiles that the engine cannot join.
    """
    return _vx.convert_colors(picture, source, target, out, order)


def _argb(color: Colors, depth: int | None, order: Order) -> numpy.ndarray:
    kind = kind_of(depth, color) or KINDS[32]
    return pixels("color", color, kind, order, opaque=True)


def _to(space: str, color: Colors, depth: int | None, order: Order) -> numpy.ndarray:
    argb = _argb(color, depth, order)
    return _vx.to_space(space, argb.reshape(-1, 4)).reshape(*argb.shape[:-1], 3)


def _from(space: str, color: Colors, depth: int) -> numpy.ndarray:
    parts = numpy.asarray(color)
    if parts.ndim == 0 or parts.shape[-1] != 3:
        raise ValueError(f"color: shape {parts.shape}; the last axis has three components")
    if parts.dtype.kind not in "iuf":
        raise TypeError(f"color: dtype {parts.dtype}; needs numbers")
    argb = numpy.zeros((parts.size // 3, 4), kind_of(depth, parts) or KINDS[32])
    _vx.from_space(space, numpy.ascontiguousarray(parts, numpy.float64).reshape(-1, 3), argb)
    return argb[:, 1:].reshape(parts.shape)


def _read(what: str, color: Colors, depth: int | None, order: Order) -> numpy.ndarray:
    argb = _argb(color, depth, order)
    return _vx.read_color(what, argb.reshape(-1, 4)).reshape(argb.shape[:-1])


def rgb_to_hls(color: Colors, depth: int | None = None, *, order: Order = "rgba") -> numpy.ndarray:
    """Hue in degrees 0..360, lightness and saturation 0..1, as ... x 3 of float64.

    color: one, or an array: three or four channels in the last axis, straight; alpha is ignored.
    depth: 8 (0..255), 16 (0..32768) or 32 (0..1 nominal); None is that of an array of uint8, uint16
    or float32, and 32 for other numbers. What comes from integer depths is rounded to 1/65536.

    Raises TypeError, ValueError, as all functions of colour spaces.
    """
    return _to("hls", color, depth, order)


def hls_to_rgb(color: Colors, depth: int = 32) -> numpy.ndarray:
    """Undoes rgb_to_hls(): ... x 3 of uint8, uint16 or float32. The hue counts modulo 360.

    Integer channels are held to their scale. Raises TypeError, ValueError.
    """
    return _from("hls", color, depth)


def rgb_to_yiq(color: Colors, depth: int | None = None, *, order: Order = "rgba") -> numpy.ndarray:
    """Y, I, Q by the NTSC matrix of colours taken as 0..1, as ... x 3 of float64.

    color and depth as in rgb_to_hls(). Raises TypeError, ValueError.
    """
    return _to("yiq", color, depth, order)


def yiq_to_rgb(color: Colors, depth: int = 32) -> numpy.ndarray:
    """Undoes rgb_to_yiq(): ... x 3 of uint8, uint16 or float32. Raises TypeError, ValueError."""
    return _from("yiq", color, depth)


def luminance(color: Colors, depth: int | None = None, *, order: Order = "rgba") -> numpy.ndarray:
    """0.299 red + 0.587 green + 0.114 blue in channel units, as blending has it.

    Like hue(), lightness() and saturation(): int32, or float32 for float colours. color and depth
    as in rgb_to_hls(). Raises TypeError, ValueError.
    """
    return _read("luminance", color, depth, order)


def hue(color: Colors, depth: int | None = None, *, order: Order = "rgba") -> numpy.ndarray:
    """The hue in degrees times the full scale: 255, 32768 or 1 a degree. As luminance().

    Raises TypeError, ValueError.
    """
    return _read("hue", color, depth, order)


def lightness(color: Colors, depth: int | None = None, *, order: Order = "rgba") -> numpy.ndarray:
    """Half of the largest and the smallest channel together, in channel units. As luminance().

    Raises TypeError, ValueError.
    """
    return _read("lightness", color, depth, order)


def saturation(color: Colors, depth: int | None = None, *, order: Order = "rgba") -> numpy.ndarray:
    """The saturation of rgb_to_hls() times the full scale. As luminance().

    Raises TypeError, ValueError.
    """
    return _read("saturation", color, depth, order)
