# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Conversion between profiles and between colour spaces."""

from __future__ import annotations

import numpy
import numpy.typing

from . import _vx
from ._channels import KINDS, kind_of, pixels
from ._types import Order, OutT, PictureT

Colors = numpy.typing.ArrayLike


def convert_colors(picture: PictureT, source: _vx.Profile, target: _vx.Profile, *,
                   out: OutT | None = None, order: Order = "rgba") -> PictureT | OutT:
    """Converts colours to another profile, relative colorimetric; alpha is unchanged.

    picture: any depth.
    source: Profile of the picture.
    target: Profile of the result.

    Raises TypeError, and ValueError for profiles that cannot be converted into each other.
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
    """Returns hue in degrees 0..360, lightness and saturation 0..1, as ... x 3 of float64.

    color: one colour or an array of colours; the last axis has three or four channels, straight.
    Alpha is ignored.
    depth: 8 (0..255), 16 (0..32768) or 32 (0..1 nominal). None: the depth of an array of uint8,
    uint16 or float32, and 32 for other numbers. Results from integer depths are rounded to 1/65536.

    Raises TypeError, ValueError.
    """
    return _to("hls", color, depth, order)


def hls_to_rgb(color: Colors, depth: int = 32) -> numpy.ndarray:
    """Converts the result of rgb_to_hls() to ... x 3 of uint8, uint16 or float32.

    color: hue in degrees (modulo 360), lightness and saturation 0..1 in the last axis.
    depth: of the result, 8, 16 or 32. Integer channels are clamped to 0..full scale.

    Raises TypeError, ValueError.
    """
    return _from("hls", color, depth)


def rgb_to_yiq(color: Colors, depth: int | None = None, *, order: Order = "rgba") -> numpy.ndarray:
    """Returns Y, I and Q as ... x 3 of float64, by the NTSC matrix of colours on the scale 0..1.

    color, depth: as in rgb_to_hls().

    Raises TypeError, ValueError.
    """
    return _to("yiq", color, depth, order)


def yiq_to_rgb(color: Colors, depth: int = 32) -> numpy.ndarray:
    """Converts the result of rgb_to_yiq() to ... x 3 of uint8, uint16 or float32.

    color: Y, I and Q in the last axis.
    depth: of the result, 8, 16 or 32. Integer channels are clamped to 0..full scale.

    Raises TypeError, ValueError.
    """
    return _from("yiq", color, depth)


def luminance(color: Colors, depth: int | None = None, *, order: Order = "rgba") -> numpy.ndarray:
    """Returns 0.299 red + 0.587 green + 0.114 blue in channel units.

    The transfer modes use the same luminance. The result is int32, or float32 for float colours.

    color, depth: as in rgb_to_hls().

    Raises TypeError, ValueError.
    """
    return _read("luminance", color, depth, order)


def hue(color: Colors, depth: int | None = None, *, order: Order = "rgba") -> numpy.ndarray:
    """Returns the hue in degrees times the full scale of the depth (255, 32768 or 1).

    The result is int32, or float32 for float colours.

    color, depth: as in rgb_to_hls().

    Raises TypeError, ValueError.
    """
    return _read("hue", color, depth, order)


def lightness(color: Colors, depth: int | None = None, *, order: Order = "rgba") -> numpy.ndarray:
    """Returns the mean of the largest and the smallest channel, in channel units.

    The result is int32, or float32 for float colours.

    color, depth: as in rgb_to_hls().

    Raises TypeError, ValueError.
    """
    return _read("lightness", color, depth, order)


def saturation(color: Colors, depth: int | None = None, *, order: Order = "rgba") -> numpy.ndarray:
    """Returns the saturation of rgb_to_hls() times the full scale of the depth (255, 32768 or 1).

    The result is int32, or float32 for float colours.

    color, depth: as in rgb_to_hls().

    Raises TypeError, ValueError.
    """
    return _read("saturation", color, depth, order)
