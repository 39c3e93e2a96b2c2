# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Colours from profile to profile, and single colours in other spaces."""

from __future__ import annotations

from . import _vx
from ._types import Color, Order, Picture

Three = tuple[float, float, float]


def convert_colors(picture: Picture, source: _vx.Profile, target: _vx.Profile, *,
                   out: Picture | None = None, order: Order = "rgba") -> Picture:
    """The picture's colours from one profile to another, relative colorimetric; alpha stays."""
    return _vx.convert_colors(picture, source, target, out, order)


def rgb_to_hls(color: Color) -> Three:
    """Hue in degrees 0..360, lightness and saturation 0..1, of red, green, blue 0..1."""
    return _vx.rgb_to_hls(color)


def hls_to_rgb(color: Color) -> Three:
    """Undoes rgb_to_hls()."""
    return _vx.hls_to_rgb(color)


def rgb_to_yiq(color: Color) -> Three:
    """Y, I, Q by the NTSC matrix, of red, green, blue 0..1."""
    return _vx.rgb_to_yiq(color)


def yiq_to_rgb(color: Color) -> Three:
    """Undoes rgb_to_yiq()."""
    return _vx.yiq_to_rgb(color)


def luminance(color: Color) -> float:
    """0.299 red + 0.587 green + 0.114 blue, as blending has it."""
    return _vx.luminance(color)
