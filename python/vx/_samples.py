# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Samplers."""

from __future__ import annotations

import numpy
import numpy.typing

from . import _vx
from ._types import Order, Picture


def samplers() -> list[str]:
    """The names for sample(): those that begin with "inside" need all four neighbours."""
    return _vx.samplers()


def sample(picture: Picture, x: numpy.typing.ArrayLike, y: numpy.typing.ArrayLike,
           sampler: str = "bilinear", *, radius: float | tuple[float, float] = 0.5,
           order: Order = "rgba") -> numpy.ndarray:
    """The picture at positions in pixels: an array of the shape of x and y, with four channels.

    Pixel centres lie on whole numbers; outside is transparent black. Positions are rounded to
    1/65536. radius: half the side of the footprint of the box samplers, pixels up to 127, or (x, y).

    Raises TypeError, ValueError for positions that are no numbers or beyond -32768..32767.
    """
    across, down = numpy.broadcast_arrays(numpy.asarray(x, numpy.float64),
                                          numpy.asarray(y, numpy.float64))
    wide, high = radius if isinstance(radius, tuple) else (radius, radius)
    pixels = _vx.sample(picture, across.flatten(), down.flatten(), sampler, wide, high, order)
    if order == "rgba":
        pixels = pixels[:, [1, 2, 3, 0]]
    return pixels.reshape(across.shape + (4,))
