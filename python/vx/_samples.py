# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Samples of pictures at fractional positions."""

from __future__ import annotations

import numpy
import numpy.typing

from . import _vx
from ._channels import in_order, pair
from ._types import Order, Picture


def samplers() -> list[str]:
    """Returns the names of the samplers for sample().

    Samplers whose name begins with "inside" need all four neighbours of a position.
    """
    return _vx.samplers()


def sample(picture: Picture, x: numpy.typing.ArrayLike, y: numpy.typing.ArrayLike,
           sampler: str = "bilinear", *, radius: float | tuple[float, float] = 0.5,
           order: Order = "rgba") -> numpy.ndarray:
    """Returns the pixels of a picture at given positions: the shape of x and y, and four channels.

    picture: any depth.
    x, y: positions in pixels, -32768..32767, rounded to 1/65536. Pixel centres are whole numbers.
    Outside the picture is transparent black.
    sampler: a name of samplers().
    radius: half the side of the area of the box samplers in pixels, up to 127, or (x, y).

    Raises TypeError, and ValueError for a position that is not a number or out of range.
    """
    across, down = _positions(x, y)
    wide, high = pair("radius", radius)
    pixels = _vx.sample(picture, across.flatten(), down.flatten(), sampler, wide, high, order)
    return in_order(pixels, order).reshape(across.shape + (4,))


def sample_all_in(picture: Picture, x: numpy.typing.ArrayLike, y: numpy.typing.ArrayLike, *,
                  order: Order = "rgba") -> tuple[numpy.ndarray, numpy.ndarray]:
    """Returns bilinear samples, and whether the four neighbours of each position are inside.

    The result is a tuple: the pixels as in sample(), and booleans of the shape of x and y. At whole
    positions integer depths need no neighbours, and the boolean is False.

    picture, x, y: as in sample().

    Raises TypeError, ValueError.
    """
    across, down = _positions(x, y)
    pixels, inside = _vx.sample_all_in(picture, across.flatten(), down.flatten(), order)
    return (in_order(pixels, order).reshape(across.shape + (4,)),
            inside.astype(bool).reshape(across.shape))


def _positions(x: numpy.typing.ArrayLike,
               y: numpy.typing.ArrayLike) -> tuple[numpy.ndarray, numpy.ndarray]:
    across, down = numpy.broadcast_arrays(numpy.asarray(x, numpy.float64),
                                          numpy.asarray(y, numpy.float64))
    return across, down
